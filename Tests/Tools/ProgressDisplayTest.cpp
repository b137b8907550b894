#include "Terminal/ProgressDisplay.h"

#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Testing.h"

#include <sstream>

TEST( ProgressDisplayTest, TellsEachTenthOnce )
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
        EXPECT_CONTAINS( error.str(), std::to_string( tenth * 10 ) + " %" );
    EXPECT_EQ( std::ranges::count( error.str(), '\n' ), 10 );
}

TEST( ProgressDisplayTest, ErasesBarsBeforeOtherOutput )
{
    std::ostringstream error;
    ProgressDisplay display( error, ProgressDisplay::kBars );
    auto& outer = display.AddBar( true, 0, 0, true );
    auto& inner = display.AddBar( false, 0, 2, true );
    display.SetTitle( outer, "One" );
    display.SetMessage( inner, "Two" );
    display.Draw();
    const std::string eraser = ProgressDisplay::GetEraser();
    EXPECT_STARTS( error.str(), eraser + "One  0/1" );
    EXPECT_CONTAINS( error.str(), "\n  Two  0/1" );
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
