#include "Terminal/ProgressDisplay.h"

#include "Core/Errors/XException.h"
#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Terminal/TerminalProgressStrategy.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

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

TEST( ProgressText, ShowsWhatFits )
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

TEST( ProgressText, NeverPassesItsWidthNorAHundredPerCent )
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

TEST( ProgressDisplay, TellsEachTenthOnce )
{
    std::ostringstream error;
    ProgressDisplay display( error, ProgressDisplay::kLines );
    auto& outer = display.AddBar( true, 0, 0, true );
    auto& inner = display.AddBar( false, 0, 2, true );
    for ( int step = 0; step <= 1000; ++step )
    {
        display.SetValue( outer, step, 1000 );
        display.SetValue( inner, step % 100, 100 );
    }
    for ( int tenth = 1; tenth <= 10; ++tenth )
        EXPECT_NE( error.str().find( std::to_string( tenth * 10 ) + " %" ), std::string::npos );
    EXPECT_EQ( std::ranges::count( error.str(), '\n' ), 10 );
}

TEST( ProgressDisplay, ErasesBarsBeforeOtherOutput )
{
    std::ostringstream error;
    ProgressDisplay display( error, ProgressDisplay::kBars );
    auto& outer = display.AddBar( true, 0, 0, true );
    auto& inner = display.AddBar( false, 0, 2, true );
    display.SetTitle( outer, "One" );
    display.SetMessage( inner, "Two" );
    display.Draw();
    const std::string eraser = ProgressDisplay::GetEraser();
    EXPECT_EQ( error.str().find( eraser + "One  0/1" ), 0u );
    EXPECT_NE( error.str().find( "\n  Two  0/1" ), std::string::npos );
    EXPECT_TRUE( error.str().ends_with( "\x1B[1A\r" ) ) << "the cursor is at the first bar";

    error.str( "" );
    display.WriteLine( "text" );
    EXPECT_EQ( error.str(), eraser + "text\n" );
    display.RemoveBar( inner );
    display.Draw();
    error.str( "" );
    display.RemoveBar( outer );
    EXPECT_EQ( error.str(), eraser );
    display.Draw();
    EXPECT_EQ( error.str(), eraser );
}

TEST( TerminalProgressStrategy, GivesBarsToTheOutermostAndOnRequest )
{
    std::ostringstream error;
    ProgressDisplay display( error, ProgressDisplay::kBars );
    TerminalProgressStrategy strategy( display, true );
    const XProgressStrategyChanger changer( &strategy );
    {
        const XProgress waiting( 1, XProgress::kProgressWait );
        XProgress outer( 4, XProgress::kProgressWork, 0, true );
        outer.SetTitle( "not the outermost" );
        XProgress folded( 2 );
        folded.SetMessage( "of the bar around it" );
        const XProgress forced( 2, XProgress::kProgressWork, 0, true );
        EXPECT_FALSE( strategy.HasProgressBar( waiting ) );
        EXPECT_TRUE( strategy.HasProgressBar( outer ) );
        EXPECT_FALSE( strategy.HasProgressBar( folded ) );
        EXPECT_TRUE( strategy.HasProgressBar( forced ) );
        EXPECT_EQ( outer.GetMessage(), "of the bar around it" );
        display.Draw();
        EXPECT_NE( error.str().find( "Jof the bar around it  0/4" ), std::string::npos ) << error.str();
    }
    EXPECT_TRUE( error.str().ends_with( ProgressDisplay::GetEraser() ) );
}
