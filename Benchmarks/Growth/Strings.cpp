#include "Growth/Operation.h"

#include "Core/Strings/XString.h"

namespace
{

XString Repeat( const char* inUnit, std::size_t inCount )
{
    XString text;
    for ( std::size_t i = 0; i < inCount; ++i )
        text += inUnit;
    return text;
}

Seconds ReplaceMatches( std::size_t inCount )
{
    XString text = Repeat( "some words and a, ", inCount );
    return Time( [&] { text.Replace( ", ", "; " ); } );
}

Seconds FindMatches( std::size_t inCount )
{
    const XString text = Repeat( "some words and a, ", inCount );
    return Time(
        [&]
        {
            for ( SSize64 found = text.Find( "," ); found != XString::kNotFound; )
                found = text.Find( ",", true, static_cast<USize64>( found ) + 1 );
        } );
}

Seconds ComparePoints( std::size_t inCount )
{
    const XString first = Repeat( ".", inCount );
    const XString second = " " + first + "!";
    volatile bool isLess = false;
    return Time( [&] { isLess = first < second; } );
}

Seconds TakeLastWord( std::size_t inCount )
{
    const XString text = Repeat( "words ", inCount );
    XString word;
    return Time( [&] { word = text.SubWord( inCount - 1 ); } );
}

} // namespace

void AddStringOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "strings: Replace, by matches", 2000, ReplaceMatches } );
    ioOperations.push_back( { "strings: Find in a loop, by matches", 2000, FindMatches } );
    ioOperations.push_back( { "strings: natural order of points, by points", 10000, ComparePoints } );
    ioOperations.push_back( { "strings: SubWord of the last word, by words", 20000, TakeLastWord } );
}
