#include "Services/XAppVersion.h"

#include "Services/XAppAndComputerInfo.h"

#include <gtest/gtest.h>

TEST( XAppVersionTest, DescribesAndComparesVersions )
{
    const XAppVersion version( "korvale", 1, 20, 3 );
    EXPECT_EQ( version.GetDescription(), "korvale 1.20.3" );
    EXPECT_TRUE( version.IsCompatibleWith( XAppVersion( "korvale", 1, 20, 4 ) ) );
    EXPECT_NE( version, XAppVersion( "korvale", 1, 20, 4 ) );
    EXPECT_FALSE( version.IsCompatibleWith( XAppVersion( "korvale", 1, 21, 3 ) ) );
    EXPECT_FALSE( version.IsCompatibleWith( XAppVersion( "korvale", 2, 20, 3 ) ) );
    EXPECT_FALSE( version.IsCompatibleWith( XAppVersion( "other", 1, 20, 3 ) ) );
}

TEST( XAppVersionTest, AProcessHasTheVersionOfItsApplication )
{
    EXPECT_EQ( XAppVersion::GetCurrent(), XAppVersion::GetLibraryVersion() );
    EXPECT_EQ( XAppVersion::GetLibraryVersion().GetName(), "Korvale Core" );
    const XAppVersion version( "test", 1, 2, 3 );
    XAppVersion::SetCurrent( version );
    EXPECT_EQ( XAppVersion::XAppAndComputerInfo::GetCurrent().GetAppVersion(), version );
    XAppVersion::SetCurrent( XAppVersion::GetLibraryVersion() );
}

TEST( XAppVersionTest, AProcessTellsOfItselfAndItsComputer )
{
    const auto info = XAppVersion::XAppAndComputerInfo::GetCurrent();
    EXPECT_FALSE( info.GetComputerName().IsEmpty() );
    EXPECT_EQ( info.GetName(), info.GetComputerName() );
    EXPECT_FALSE( info.GetInstanceID().IsNil() );
    EXPECT_NE( info.GetProcessID(), 0u );
    EXPECT_TRUE( info.GetSystemDescription().Contains( " " ) ); // a name and a release at least
    EXPECT_GE( info.GetProcessorCount(), 1u );
    EXPECT_GT( info.GetMemoryBytes(), 1u << 20 );

    const auto named = XAppVersion::XAppAndComputerInfo::GetCurrent( "n1" );
    EXPECT_EQ( named.GetName(), "n1" );
    EXPECT_EQ( named.GetInstanceID(), info.GetInstanceID() );
}
