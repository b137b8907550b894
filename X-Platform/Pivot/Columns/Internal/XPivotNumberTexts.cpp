#include "Pivot/Columns/Internal/XPivotNumberTexts.h"

#include "Core/Strings/XNumberText.h"
#include "Pivot/Columns/Internal/XPivotConversions.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace
{
XVector<XString> FormatAll( const XVector<double>& inNumbers, XString ( *inFormat )( double ) )
{
    XVector<XString> texts( inNumbers.size() );
    std::ranges::transform( inNumbers, texts.begin(), inFormat );
    return texts;
}

bool AreSame( double inLeft, double inRight )
{
    return inLeft == inRight || ( std::isnan( inLeft ) && std::isnan( inRight ) );
}

bool AreDistinct( const XVector<double>& inNumbers, const XVector<XString>& inTexts )
{
    using XTextAndNumber = std::pair<std::string_view, double>;
    const XString zero = XFormatPivotNumber( 0.0 );
    XVector<XTextAndNumber> entries = { { zero.GetStringView(), 0.0 } };
    for ( std::size_t i = 0; i < inNumbers.size(); ++i )
        entries.emplace_back( inTexts[i].GetStringView(), inNumbers[i] );
    std::ranges::sort( entries, std::less<>(), &XTextAndNumber::first );
    const auto collide = []( const XTextAndNumber& inLeft, const XTextAndNumber& inRight )
    { return inLeft.first == inRight.first && !AreSame( inLeft.second, inRight.second ); };
    return std::ranges::adjacent_find( entries, collide ) == entries.end();
}

XString FormatExactly( double inNumber )
{
    if ( !std::isfinite( inNumber ) )
        return XFormatPivotNumber( inNumber );
    std::string exact;
    XAppendNumber( exact, inNumber + 0.0 ); // -0 is 0
    std::ranges::replace( exact, '.', WLocale::GetDecimalPoint() );
    return XString( exact );
}
} // namespace

XVector<XString> XFormatDistinctNumbers( const XVector<double>& inNumbers )
{
    XVector<XString> texts = FormatAll( inNumbers, XFormatPivotNumber );
    return AreDistinct( inNumbers, texts ) ? texts : FormatAll( inNumbers, FormatExactly );
}
