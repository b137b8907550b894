#pragma once

#include "WPlatform.h"

#include <string>
#include <string_view>
#include <vector>

/// The header fields of an HTTP message, in order. Names are compared ignoring the case of ASCII letters.
/// Threads: as a std::string.
/// Errors: 1013 for a name that is not a token, or a value with a line break or a NUL.
class KORVALE_API XHTTPHeaders
{
public:
    struct XField
    {
        std::string name;
        std::string value;
    };

    bool Has( std::string_view inName ) const { return Find( inName ) != nullptr; }

    /// The value; the values of several fields with this name are joined by ", ". Empty if there is none.
    std::string Get( std::string_view inName ) const;

    /// Replaces all fields with this name.
    void Set( std::string_view inName, std::string_view inValue );

    /// Appends a field.
    void Add( std::string_view inName, std::string_view inValue );
    void Remove( std::string_view inName );

    const std::vector<XField>& GetFields() const { return itsFields; }

    /// Whether name and value are valid for a field.
    static bool IsValid( std::string_view inName, std::string_view inValue );

    /// Whether two texts are equal, ignoring the case of ASCII letters.
    static bool AreEqual( std::string_view inFirst, std::string_view inSecond );

private:
    friend class XHTTPParser; // has checked the fields it adds

    const XField* Find( std::string_view inName ) const;

    std::vector<XField> itsFields;
};
