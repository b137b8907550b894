#include "Pivot/Columns/Internal/XPivotTextPool.h"

#include "Core/Streams/XStream.h"

#include <functional>
#include <optional>

// Interning of texts: equal texts of a column get one shared storage. The pool is a hash table with open
// addressing of the texts themselves, limited in three ways, since sharing is only worth its look-ups for
// columns with few different texts: long texts are not shared, the number of texts in the pool is limited,
// and after a number of look-ups with too few hits the pool gives up for good. A text that finds no place
// within 64 steps is not shared either, so chosen texts that collide cost only that.

namespace
{
/// The place of a text, or a free one for it; null where neither is near, as only chosen texts make it happen.
XString* FindPlace( XVector<XString>& ioTexts, std::string_view inText )
{
    constexpr std::size_t kMostSteps = 64;
    const auto first = std::hash<std::string_view>()( inText );
    for ( std::size_t step = 0; step < kMostSteps; ++step )
    {
        XString& place = ioTexts[( first + step ) & ( ioTexts.size() - 1 )];
        if ( place.IsEmpty() || place.GetStringView() == inText )
            return &place;
    }
    return nullptr;
}

/// The next text, where the stream's buffer holds it whole.
std::optional<std::string_view> PeekText( const XStream& inStream )
{
    std::uint32_t length = 0;
    const auto bytes = inStream.LendBytes();
    if ( bytes.size() < sizeof length )
        return std::nullopt;
    std::memcpy( &length, bytes.data(), sizeof length );
    if ( inStream.GetByteOrder() != kPlatformByteOrder )
        length = __builtin_bswap32( length );
    if ( length > bytes.size() - sizeof length )
        return std::nullopt;
    return std::string_view( reinterpret_cast<const char*>( bytes.data() ) + sizeof length, length );
}
} // namespace

/// Checks from time to time whether enough texts were found, and otherwise stops sharing permanently.
bool XPivotTextPool::IsUsedFor( std::string_view inText )
{
    if ( itsHasGivenUp || inText.empty() || inText.size() > kMostBytes )
        return false;
    if ( itsLookups++ < kLookups )
        return true;
    if ( itsFound < kFewestFound )
    {
        itsHasGivenUp = true;
        XVector<XString>().swap( itsTexts );
        return false;
    }
    itsLookups = itsFound = 0;
    return true;
}

void XPivotTextPool::Grow()
{
    XVector<XString> old( itsTexts.empty() ? 64 : 4 * itsTexts.size() );
    old.swap( itsTexts );
    for ( auto& text : old )
        if ( !text.IsEmpty() )
            if ( auto* place = FindPlace( itsTexts, text.GetStringView() ) )
                *place = std::move( text );
}

template<class TText>
XString XPivotTextPool::GetEqual( std::string_view inText, const TText& inNewText )
{
    if ( !IsUsedFor( inText ) )
        return inNewText;
    if ( itsCount < kMostTexts && 2 * itsCount >= itsTexts.size() )
        Grow();
    auto* place = FindPlace( itsTexts, inText );
    if ( place && !place->IsEmpty() )
    {
        ++itsFound;
        return *place;
    }
    XString text( inNewText );
    if ( place && itsCount < kMostTexts )
    {
        *place = text;
        ++itsCount;
    }
    return text;
}

XString XPivotTextPool::Get( std::string_view inText )
{
    return GetEqual( inText, inText );
}

XString XPivotTextPool::Share( const XString& inText )
{
    return GetEqual( inText.GetStringView(), inText );
}

void XPivotTextPool::Read( XStream& inStream, XString& outText )
{
    const auto text = PeekText( inStream );
    if ( !text || text->size() > kMostBytes )
        return inStream.ReadString( outText );
    outText = Get( *text );
    inStream.PassLent( sizeof( std::uint32_t ) + text->size() );
}
