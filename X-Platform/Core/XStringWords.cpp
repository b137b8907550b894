#include "Core/XString.h"

#include "Core/XTextScan.h"

#include <algorithm>

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
template<class XTakePart>
void Split( std::string_view inText, std::string_view inSeparators, const XTakePart& inTakePart )
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
    std::size_t firstBegin = text.npos;
    std::size_t lastEnd = 0;
    std::size_t begin = text.find_first_not_of( separators );
    for ( USize64 word = 0; begin != text.npos && ( word < inIndex || word - inIndex < inCount ); ++word )
    {
        const std::size_t end = std::min( text.find_first_of( separators, begin ), text.size() );
        if ( word >= inIndex )
        {
            firstBegin = std::min( firstBegin, begin );
            lastEnd = end;
        }
        begin = text.find_first_not_of( separators, end );
    }
    return firstBegin == text.npos ? XString() : XString( text.substr( firstBegin, lastEnd - firstBegin ) );
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
