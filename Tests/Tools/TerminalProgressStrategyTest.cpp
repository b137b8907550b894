#include "Terminal/TerminalProgressStrategy.h"

#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Terminal/ProgressDisplay.h"
#include "Testing.h"

#include <sstream>

TEST( TerminalProgressStrategyTest, GivesBarsToTheOutermostAndOnRequest )
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
        EXPECT_CONTAINS( error.str(), "Jof the bar around it  0/4" );
    }
    EXPECT_TRUE( error.str().ends_with( ProgressDisplay::GetEraser() ) );
}
