#include "Core/Strings/XString.h"

#include "Core/Strings/Internal/XTextScan.h"

#include <algorithm>
#include <cstring>

namespace
{
std::string_view TrimSpace( std::string_view inText )
{
    const auto begin = std::ranges::find_if_not( inText, XTextScan::IsSpace );
    inText.remove_prefix( static_cast<std::size_t>( begin - inText.begin() ) );
    while ( !inText.empty() && XTextScan::IsSpace( inText.back() ) )
        inText.remove_suffix( 1 );
    return inText;
}

/// Calls `inTakePart` with each part of a text that is not empty, the empty ones between two separators included.
template<class TTakePart>
void Split( std::string_view inText, std::string_view inSeparators, const TTakePart& inTakePart )
{
    for ( std::size_t begin = 0;; )
    {
        const std::size_t end = std::min( inText.find_first_of( inSeparators, begin ), inText.size() );
        inTakePart( inText.substr( begin, end - begin ) );
        if ( end == inText.size() )
            return;
        begin = end + 1;
    }
}

/// Where words begin, found a block of characters at a time by loops without branches.
class XWordFinder
{
public:
    XWordFinder( std::string_view inText, std::string_view inSeparators )
        : itsText( inText ), itsSeparators( inSeparators )
    {
    }

    /// The beginning of word `inIndex`, counted from a position at which a word may begin; npos if there is
    /// none.
    std::size_t Find( std::size_t inPosition, USize64 inIndex )
    {
        // Before the text there is, as it were, a separator.
        itsFlags[0] = 1;
        for ( ; itsText.size() - inPosition >= kBlockSize; inPosition += kBlockSize )
        {
            MarkBlock( itsText.data() + inPosition );
            // Whole blocks without the wanted word are passed by counting alone.
            const USize64 beginnings = CountBeginnings();
            if ( beginnings > inIndex )
                return FindInBlock( inPosition, kBlockSize, inIndex );
            inIndex -= beginnings;
            itsFlags[0] = itsFlags[kBlockSize];
        }
        const std::size_t rest = itsText.size() - inPosition;
        for ( std::size_t i = 0; i < rest; ++i )
            itsFlags[i + 1] = itsSeparators.find( itsText[inPosition + i] ) != std::string_view::npos;
        return FindInBlock( inPosition, rest, inIndex );
    }

private:
    static constexpr std::size_t kBlockSize = 128; // at most so many beginnings, which fit into a byte

    /// Works on copies, which the compiler knows not to overlap, so that it can vectorise the loop.
    void MarkBlock( const char* inBlock )
    {
        char characters[kBlockSize];
        std::memcpy( characters, inBlock, kBlockSize );
        std::uint8_t flags[kBlockSize] = {};
        for ( const char separator : itsSeparators )
        {
            for ( std::size_t i = 0; i < kBlockSize; ++i )
                flags[i] |= static_cast<std::uint8_t>( characters[i] == separator );
        }
        std::memcpy( itsFlags + 1, flags, kBlockSize );
    }

    USize64 CountBeginnings() const
    {
        std::uint8_t count = 0;
        for ( std::size_t i = 0; i < kBlockSize; ++i )
            count = static_cast<std::uint8_t>( count + ( itsFlags[i] & ( itsFlags[i + 1] ^ 1 ) ) );
        return count;
    }

    std::size_t FindInBlock( std::size_t inPosition, std::size_t inSize, USize64 inIndex ) const
    {
        for ( std::size_t i = 0; i < inSize; ++i )
        {
            if ( itsFlags[i] == 1 && itsFlags[i + 1] == 0 && inIndex-- == 0 )
                return inPosition + i;
        }
        return std::string_view::npos;
    }

    std::string_view itsText;
    std::string_view itsSeparators;
    std::uint8_t itsFlags[kBlockSize + 1]; // 1 for separators; the first is that in front of the block
};
} // namespace

XString XString::SubStr( USize64 inStart, USize64 inCount ) const
{
    XString result( *this );
    result.Truncate( inCount, inStart );
    return result;
}

XString XString::SubWord( USize64 inIndex, USize64 inCount, const XString& inSeparators ) const
{
    const std::string_view text = GetStringView();
    const std::string_view separators = inSeparators.GetStringView();
    if ( inCount == 0 )
        return XString();
    XWordFinder finder( text, separators );
    const std::size_t begin = finder.Find( 0, inIndex );
    if ( begin == text.npos )
        return XString();
    const std::size_t last = finder.Find( begin, inCount - 1 );
    const std::size_t end =
        last == text.npos ? text.find_last_not_of( separators ) + 1 : text.find_first_of( separators, last );
    return XString( text.substr( begin, end - begin ) );
}

std::map<XString, XString>
XString::Tokenise( const XString& inPairSeparators, const XString& inKeyValueSeparators ) const
{
    std::map<XString, XString> result;
    const auto addPair = [&]( std::string_view inPair )
    {
        const std::size_t keyEnd =
            std::min( inPair.find_first_of( inKeyValueSeparators.GetStringView() ), inPair.size() );
        const std::string_view key = TrimSpace( inPair.substr( 0, keyEnd ) );
        const std::string_view value = inPair.substr( std::min( keyEnd + 1, inPair.size() ) );
        if ( !key.empty() )
            result.insert_or_assign( XString( key ), XString( TrimSpace( value ) ) );
    };
    Split( GetStringView(), inPairSeparators.GetStringView(), addPair );
    return result;
}

XVector<XString> XString::TokeniseValues( const XString& inSeparators ) const
{
    XVector<XString> result;
    if ( !IsEmpty() )
        Split(
            GetStringView(), inSeparators.GetStringView(),
            [&result]( std::string_view inValue ) { result.emplace_back( inValue ); } );
    return result;
}
