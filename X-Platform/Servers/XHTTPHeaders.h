#pragma once

#include "WPlatform.h"

#include <string>
#include <string_view>
#include <vector>

/// The header fields of an HTTP message, in their order. Names count without regard to the case of ASCII letters.
/// Threads: as a std::string.
/// Errors: 1013 for a name that is no token, or a value with a line break or a NUL.
class KORVALE_API XHTTPHeaders
{
public:
    struct XField
    {
        std::string name;
        std::string value;
    };

    bool Has( std::string_view inName ) const { return Find( inName ) != nullptr; }

    /// The value; those of several fields with the name are joined by ", ". Empty where there is none.
    std::string Get( std::string_view inName ) const;

    /// Replaces all fields with the name.
    void Set( std::string_view inName, std::string_view inValue );

    /// Puts another field behind those there are.
    void Add( std::string_view inName, std::string_view inValue );
    void Remove( std::string_view inName );

    const std::vector<XField>& GetFields() const { return itsFields; }

    /// Whether a field may be added.
    static bool IsValid( std::string_view inName, std::string_view inValue );

    /// Whether two texts differ in the case of ASCII letters at most.
    static bool AreEqual( std::string_view inFirst, std::string_view inSecond );

private:
    friend class XHTTPParser; // has checked what it adds

    const XField* Find( std::string_view inName ) const;

    std::vector<XField> itsFields;
};
