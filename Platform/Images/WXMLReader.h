#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Receives the contents of an XML text in its order.
class WXMLVisitor
{
public:
    struct Attribute
    {
        std::string name; ///< without the prefix of a namespace
        std::string value;
    };
    using Attributes = std::vector<Attribute>;

    virtual ~WXMLVisitor() = default;

    /// The start of an element, its name without the prefix of a namespace; the root has the depth 0.
    virtual void
    EnterElement( std::uint32_t inDepth, const std::string& inName, const Attributes& inAttributes ) = 0;

    /// A text within the element entered last whose depth is less than `inDepth`.
    virtual void AddText( std::uint32_t inDepth, const std::string& inText ) = 0;
};

/// Parses XML with a library of the system. No document type definition is accepted, so no entity but the
/// five of XML and numbered characters is expanded, and nothing outside the text is read.
class KORVALE_IMAGING_API WXMLReader
{
public:
    static constexpr std::uint32_t kMostDepth = 64;        ///< of nested elements
    static constexpr std::uint64_t kMostMarks = 4'000'000; ///< of the character <, which starts each tag

    /// Passes the contents of `inText` to the visitor. Throws WImageError with the reason, after some of the
    /// contents have been passed or before, if the text is not well-formed, has a document type definition or
    /// exceeds a limit; and the exceptions of the visitor.
    static void Read( std::string_view inText, WXMLVisitor& ioVisitor );

private:
    static void CheckLimits( std::string_view inText );
    static void Parse( std::string_view inText, WXMLVisitor& ioVisitor );
    [[noreturn]] static void Refuse( const std::string& inReason );
};
