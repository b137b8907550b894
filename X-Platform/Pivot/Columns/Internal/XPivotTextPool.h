#pragma once

#include "Core/Strings/XString.h"

/// Lets equal texts of a column share one storage, as long as many of them are equal: where few are, or they are long, it
/// gives up and leaves texts as they come. Internal.
class KORVALE_API XPivotTextPool
{
public:
    XPivotTextPool() = default;
    XPivotTextPool( const XPivotTextPool& ) = delete;
    XPivotTextPool& operator=( const XPivotTextPool& ) = delete;

    /// A string of those bytes, in the storage of an equal one that was asked for before where there is one.
    XString Get( std::string_view inText );
    /// The text itself, where no equal one was asked for before.
    XString Share( const XString& inText );

    /// Reads a text as XStream::ReadString does.
    void Read( XStream& inStream, XString& outText );

private:
    static constexpr std::size_t kMostBytes = 128; // of a text
    static constexpr std::size_t kMostTexts = 16 * 1024;
    static constexpr std::uint32_t kLookups = 4096;    // after which it is seen whether it was worth it
    static constexpr std::uint32_t kFewestFound = 256; // of as many

    template<class TText>
    XString GetEqual( std::string_view inText, const TText& inNewText );
    bool IsUsedFor( std::string_view inText );
    void Grow();

    // Open addressing, at most half full; an empty text is a free place.
    XVector<XString> itsTexts;
    std::size_t itsCount = 0;
    std::uint32_t itsLookups = 0; // since it was last seen whether it was worth it
    std::uint32_t itsFound = 0;
    bool itsHasGivenUp = false;
};
