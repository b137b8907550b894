#include "Drawing/WCanvas.h"

#include "Images/WImageFile.h"
#include "TestFolder.h"

namespace
{
struct Picture
{
    WImagePage page;

    explicit Picture( WCanvas& ioCanvas )
    {
        const TestFolder folder;
        page = WImageFile::Open( folder.Write( "picture.png", ioCanvas.Encode() ) )->ReadPage( 0 );
    }

    WColour Get( std::uint32_t inX, std::uint32_t inY ) const
    {
        const auto* pixel = page.GetSamples<std::uint8_t>() + ( inY * page.width + inX ) * 3;
        return { pixel[0], pixel[1], pixel[2] };
    }

    /// Where something dark has been drawn: the columns and rows it spans.
    struct Bounds
    {
        std::uint32_t left, top, right, bottom;
    };
    Bounds FindInk() const
    {
        Bounds bounds{ page.width, page.height, 0, 0 };
        for ( std::uint32_t y = 0; y < page.height; ++y )
            for ( std::uint32_t x = 0; x < page.width; ++x )
                if ( Get( x, y ).green < 128 )
                    bounds = {
                        std::min( bounds.left, x ), std::min( bounds.top, y ), std::max( bounds.right, x ),
                        std::max( bounds.bottom, y ) };
        return bounds;
    }
};

constexpr WColour kWhite{ 255, 255, 255 }, kBlack{}, kRed{ 255, 0, 0 };
} // namespace

TEST( WCanvasTest, DrawsOnAPicture )
{
    const auto canvas =
        WCanvas::MakePNG( WGreyPicture{ 4, 3, { 0, 1, 2, 3, 10, 11, 12, 13, 253, 254, 255, 128 } } );
    canvas->FillRectangle( { 1, 1 }, { 3, 2 }, kRed );
    const Picture picture( *canvas );
    ASSERT_EQ( picture.page.width, 4u );
    ASSERT_EQ( picture.page.height, 3u );
    EXPECT_EQ( picture.Get( 0, 0 ), kBlack );
    EXPECT_EQ( picture.Get( 3, 0 ), ( WColour{ 3, 3, 3 } ) );
    EXPECT_EQ( picture.Get( 0, 1 ), ( WColour{ 10, 10, 10 } ) );
    EXPECT_EQ( picture.Get( 1, 1 ), kRed );
    EXPECT_EQ( picture.Get( 2, 1 ), kRed );
    EXPECT_EQ( picture.Get( 3, 1 ), ( WColour{ 13, 13, 13 } ) );
    EXPECT_EQ( picture.Get( 2, 2 ), kWhite );
}

TEST( WCanvasTest, HasTheSizeInPointsAndTheResolutionAskedFor )
{
    const auto canvas = WCanvas::MakePNG( 72, 36, 300 );
    canvas->FillRectangle( { 36, 18 }, { 72, 36 }, kBlack );
    canvas->FillDisc( { 18, 9 }, 6, kRed.WithAlpha( 0.5 ) );
    const Picture picture( *canvas );
    EXPECT_EQ( picture.page.width, 300u );
    EXPECT_EQ( picture.page.height, 150u );
    EXPECT_NEAR( picture.page.pixelWidth, 25400.0 / 300, 0.01 );
    EXPECT_EQ( picture.Get( 149, 74 ), kWhite );
    EXPECT_EQ( picture.Get( 150, 75 ), kBlack );
    EXPECT_EQ( picture.Get( 299, 149 ), kBlack );
    EXPECT_EQ( picture.Get( 75, 37 ).red, 255 );
    EXPECT_NEAR( picture.Get( 75, 37 ).green, 127, 1 );
    EXPECT_EQ( picture.Get( 75, 4 ), kWhite );
}

TEST( WCanvasTest, PutsTextToItsPlace )
{
    const auto draw = [&]( const WTextStyle& inStyle )
    {
        const auto canvas = WCanvas::MakePNG( 200, 200, 72 );
        canvas->DrawText( "HHH", { 100, 100 }, inStyle );
        return Picture( *canvas ).FindInk();
    };
    const auto start = draw( { 30, kBlack, WTextStyle::kStart, 0, {} } );
    EXPECT_NEAR( start.left, 102, 4 );
    EXPECT_NEAR( start.bottom, 99, 2 );
    EXPECT_NEAR( start.top, 78, 3 );
    const auto end = draw( { 30, kBlack, WTextStyle::kEnd, 0, {} } );
    EXPECT_NEAR( end.right, 97, 4 );
    const auto upwards = draw( { 30, kBlack, WTextStyle::kMiddle, 90, {} } );
    EXPECT_NEAR( upwards.right, 99, 2 );
    EXPECT_NEAR( upwards.top + upwards.bottom, 199, 4 );

    const auto canvas = WCanvas::MakePNG( 1, 1, 72 );
    const auto width = canvas->GetTextWidth( "HHH", 30 );
    EXPECT_NEAR( width, start.right - start.left, 8 ); // the room beside the letters is not drawn
    EXPECT_NEAR( canvas->GetTextWidth( "HHH", 3 ), width / 10, 0.1 );
    EXPECT_EQ( canvas->GetTextWidth( "", 30 ), 0 );
}

TEST( WCanvasTest, SVGIsTheSameOnEverySystem )
{
    const auto canvas = WCanvas::MakeSVG( 100, 50 );
    // Neither fonts nor the last bits of coordinates count; half a hundredth goes away from 0.
    canvas->FillDisc( { 12.345, std::nextafter( 12.345, 0 ) }, 1.005, kBlack );
    canvas->FillDisc( { -0.125, -0.0049 }, 7.1, kBlack );
    EXPECT_CONTAINS( canvas->Encode(), "cx=\"12.35\" cy=\"12.35\" r=\"1.01\"" );
    EXPECT_CONTAINS( canvas->Encode(), "cx=\"-0.13\" cy=\"0\" r=\"7.1\"" );
    EXPECT_NEAR( canvas->GetTextWidth( "10 \xC2\xB5m\xE2\x88\x92", 10 ), 33.63, 1e-9 );
}

TEST( WCanvasTest, WritesTextThatXMLHolds )
{
    const auto canvas = WCanvas::MakeSVG( 100, 50 );
    canvas->DrawText( "a<b & \"c\"]]>\x01\n\xEF\xBF\xBF \xC2\xB5m\xC2\xB2 \xFF", { 1.23456, -0.001 }, {} );
    canvas->DrawText( "\n", { 7, 7 }, {} );
    canvas->FillDisc( { 1, 2 }, 3, kRed.WithAlpha( 0.25 ) );
    const auto text = canvas->Encode();
    EXPECT_CONTAINS( text, "x=\"1.23\" y=\"0\"" );
    EXPECT_CONTAINS( text, ">a&lt;b &amp; \"c\"]]&gt; \xC2\xB5m\xC2\xB2 \xEF\xBF\xBD</text>" );
    EXPECT_CONTAINS( text, "<circle cx=\"1\" cy=\"2\" r=\"3\" fill=\"#ff0000\" fill-opacity=\"0.25\"/>" );
    EXPECT_LACKS( text, "></text>" );
    EXPECT_TRUE( text.ends_with( "</svg>\n" ) );
}
