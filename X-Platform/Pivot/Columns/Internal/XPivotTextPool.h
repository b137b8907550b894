#pragma once

#include "Core/Strings/XString.h"

/// Shares the storage of equal texts of a column. Stops doing so if too few texts turn out to be equal; long
/// texts are never shared. Internal.
class KORVALE_API XPivotTextPool
{
public:
    XPivotTextPool() = default;
    XPivotTextPool( const XPivotTextPool& ) = delete;
    XPivotTextPool& operator=( const XPivotTextPool& ) = delete;

    /// Returns a string of these bytes; shares the storage of an equal string returned before, if there is
    /// one.
    XString Get( std::string_view inText );
    /// Returns `inText` itself if no equal text was returned before.
    XString Share( const XString& inText );

    /// Reads a text like XStream::ReadString.
    void Read( XStream& inStream, XString& outText );

private:
    static constexpr std::size_t kMostBytes = 128; // of one text
    static constexpr std::size_t kMostTexts = 16 * 1024;
    static constexpr std::uint32_t kLookups = 4096;    // between decisions whether to go on sharing
    static constexpr std::uint32_t kFewestFound = 256; // to go on sharing, of that many lookups

    template<class TText>
    XString GetEqual( std::string_view inText, const TText& inNewText );
    bool IsUsedFor( std::string_view inText );
    void Grow();

    // Open addressing, at most half full; an empty text marks a free slot.
    XVector<XString> itsTexts;
    std::size_t itsCount = 0;
    std::uint32_t itsLookups = 0; // since the last decision
    std::uint32_t itsFound = 0;
    bool itsHasGivenUp = false;
};
