#include "Terminal/ProgressText.h"

#include "Testing.h"

namespace
{
std::size_t GetWidth( const std::string& inText )
{
    return static_cast<std::size_t>(
        std::ranges::count_if( inText, []( char inByte ) { return ( inByte & 0xC0 ) != 0x80; } ) );
}

ProgressBar MakeBar( double inDone, double inSeconds )
{
    ProgressBar bar;
    bar.title = "Measuring";
    bar.message = "caf\xC3\xA9.tif";
    bar.done = inDone;
    bar.total = 64;
    bar.seconds = inSeconds;
    return bar;
}
} // namespace

TEST( ProgressTextTest, ShowsWhatFits )
{
    const auto bar = MakeBar( 16, 8 );
    EXPECT_EQ(
        DrawProgressBar( bar, 79 ),
        "Measuring: caf\xC3\xA9.tif  16/64  [#####------------------]   25 %  2.00/s  0:24 left" );
    EXPECT_EQ( DrawProgressBar( bar, 43 ), "Measuri..  16/64  [#----]   25 %  0:24 left" );
    EXPECT_EQ( DrawProgressBar( bar, 19 ), "Measuring:..   25 %" );
    EXPECT_EQ( DescribeProgress( bar ), "Measuring: caf\xC3\xA9.tif  25 %  16/64  2.00/s  0:24 left" );
    EXPECT_EQ( DrawProgressBar( MakeBar( 0, 0 ), 30 ), "Measuring: c..  [-----]    0 %" );
}

TEST( ProgressTextTest, NeverPassesItsWidthNorAHundredPerCent )
{
    for ( std::uint32_t columns = 1; columns < 140; ++columns )
        for ( const double done : { 0.0, 0.5, 63.9, 64.0, 70.0 } )
            for ( const bool isIndeterminate : { false, true } )
            {
                auto bar = MakeBar( done, 1e9 );
                bar.isIndeterminate = isIndeterminate;
                bar.message += "\n\x1B[2J";
                bar.indent = columns % 5;
                const auto line = DrawProgressBar( bar, columns );
                EXPECT_LE( GetWidth( line ), columns ) << line;
                EXPECT_EQ( line.find_first_of( "\n\x1B" ), std::string::npos );
                const auto isComplete = line.find( "100 %" ) != std::string::npos;
                EXPECT_TRUE( columns <= 16 || isComplete == ( done >= 64 && !isIndeterminate ) ) << line;
            }
}
