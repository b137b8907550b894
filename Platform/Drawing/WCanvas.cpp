#include "Drawing/WCanvas.h"

#include "System/WCodePage.h"

namespace
{
/// Without control characters and the two non-characters that XML forbids.
std::string CleanText( const std::string& inText )
{
    auto text = WCodePage::UTF8ToWide( inText );
    std::erase_if(
        text, []( wchar_t inEach ) { return inEach < L' ' || inEach == 0xFFFE || inEach == 0xFFFF; } );
    return WCodePage::WideToUTF8( text );
}
} // namespace

void WCanvas::DrawText( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle )
{
    if ( const auto text = CleanText( inText ); !text.empty() )
        DrawTextSelf( text, inPlace, inStyle );
}

double WCanvas::GetTextWidth( const std::string& inText, double inSize )
{
    return GetTextWidthSelf( CleanText( inText ), inSize );
}

void WCanvas::FillRectangle( WPoint inCorner, WPoint inOtherCorner, const WColour& inColour )
{
    Fill(
        { inCorner, { inOtherCorner.x, inCorner.y }, inOtherCorner, { inCorner.x, inOtherCorner.y } },
        inColour );
}
