#include "Drawing/WCanvas.h"

#include "System/WCodePage.h"

#include <cmath>

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

double WCanvas::GetShift( double inTextWidth, WTextStyle::Anchor inAnchor )
{
    if ( inAnchor == WTextStyle::kStart )
        return 0;
    return inAnchor == WTextStyle::kMiddle ? inTextWidth / 2 : inTextWidth;
}

void WCanvas::ConvertRow( const WGreyPicture& inPicture, std::size_t inRow, std::uint32_t* outPixels )
{
    const auto* const levels = inPicture.levels.data() + inRow * inPicture.width;
    for ( std::size_t x = 0; x < inPicture.width; ++x )
        outPixels[x] = levels[x] * 0x010101u;
}

int WCanvas::ToDots( double inLength, double inDotsPerInch )
{
    constexpr double kPointsPerInch = 72;
    return static_cast<int>( std::lround( inLength * ( inDotsPerInch / kPointsPerInch ) ) );
}
