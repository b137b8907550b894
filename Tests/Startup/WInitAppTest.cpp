#include "Startup/WInitApp.h"
#include "Startup/WInitCore.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Strings/XString.h"
#include "Ground/XFail.h"
#include "Testing.h"

// The tests' main function has made the WInitCore that these run in.

namespace
{

void DieOfAnException()
{
    const WInitApp app; // outside, since some compilers unwind as far as the function that must not throw
    const auto die = []() noexcept { XThrow( 1005 ); };
    die();
}

void DieOfAnAbort()
{
    const WInitApp app;
    std::abort();
}

} // namespace

TEST( WInitAppTest, ThereIsOnlyOneCore )
{
    EXPECT_TRUE( WInitCore::IsInitialised() );
    EXPECT_ERROR( 1006, const WInitCore second );
    EXPECT_TRUE( WInitCore::IsInitialised() );
    XException::SetLastError( 1007 );
    EXPECT_EQ( XException::GetLastError(), 1007u );
}

TEST( WInitAppTest, ThereIsOnlyOneApp )
{
    const auto previous = std::get_terminate();
    {
        const WInitApp app;
        EXPECT_NE( std::get_terminate(), previous );
        EXPECT_ERROR( 1006, const WInitApp second );
    }
    EXPECT_EQ( std::get_terminate(), previous );
    EXPECT_NO_THROW( WInitApp() );
}

TEST( WInitAppTest, InternalErrorsCarryACrashDump )
{
    XString dump;
    try
    {
        XAssertionFailed( "false", "XThing.cpp", 1 );
    }
    catch ( const XException& exception )
    {
        exception.GetCrashDump( dump );
    }
    EXPECT_TRUE( dump.Contains( "Call stack" ) );
}

TEST( WInitAppTest, StandardClassesAreRegistered )
{
    XClassRegistry::RegisterStandardClasses();
    const std::unique_ptr<XStorable> object( XClassRegistry::CreateObject( XString::GetClassVersion() ) );
    EXPECT_NE( dynamic_cast<XString*>( object.get() ), nullptr );
}

TEST( WInitAppDeathTest, WithTheCoreAloneAnUncaughtErrorPrintsItsText )
{
    const auto die = []() noexcept { XThrow( 1005 ); };
    EXPECT_DEATH( die(), "the stream is corrupted" );
}

TEST( WInitAppDeathTest, CrashesAreDescribedOnStandardError )
{
    EXPECT_DEATH( DieOfAnException(), "because the stream is corrupted .1005." );
    EXPECT_DEATH( DieOfAnAbort(), "fatal " );
}
