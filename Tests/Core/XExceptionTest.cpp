#include "Core/Errors/XException.h"

#include "Core/Errors/XInternalException.h"
#include "Testing.h"

namespace
{

std::string FullMessageOf( std::uint32_t inErrorNumber )
{
    return XException( inErrorNumber ).GetErrorMessage().GetConstCharPtr();
}

} // namespace

TEST( XExceptionTest, SaysWhyTheCommandFailed )
{
    const std::string expected = "The command could not be completed because the stream is corrupted (1005)";
    EXPECT_EQ( FullMessageOf( 1005 ), expected );
    const XString converted = XException( 1005 );
    EXPECT_EQ( converted.GetConstCharPtr(), expected );
    EXPECT_EQ( MessageOf( XException( 99999 ) ), "an error occurred (99999)" );
    EXPECT_EQ( MessageOf( XException( 0xFFFFFFFFu ) ), "an error occurred (4294967295)" );
}

TEST( XExceptionTest, RegisteredTextsComeFirst )
{
    const std::string original = MessageOf( XException( 1014 ) );
    XException::AddErrorStringToMap( 1014, "..another text" );
    EXPECT_EQ( MessageOf( XException( 1014 ) ), "another text (1014)" );
    XException::AddErrorStringToMap( 1014, original.substr( 0, original.find( " (" ) ).c_str() );
    EXPECT_EQ( MessageOf( XException( 1014 ) ), original );
}

TEST( XExceptionTest, UnderstandsNumbersOfTheOlderPlatform )
{
    EXPECT_EQ( MessageOf( XException( 0xFFFFFF94u ) ), "there was not enough memory (4294967188)" );
    EXPECT_EQ( MessageOf( XException( 0xFFFFFFCAu ) ), "access was denied (4294967242)" );
    const std::string network = MessageOf( XException( 3052 ) );
    EXPECT_EQ(
        MessageOf( XException( 0xFFFFF7D1u ) ), network.substr( 0, network.find( " (" ) ) + " (4294965201)" );
}

TEST( XExceptionTest, SilentErrorsAreNeitherLoggedNorReported )
{
    for ( const std::uint32_t error : { 1001u, 1019u, 2702u, 1005u } )
    {
        EXPECT_EQ( XException( error ).ShouldLogError(), error == 1005 ) << error;
        EXPECT_EQ( XException( error ).ShouldReportError(), error == 1005 ) << error;
    }
}

TEST( XExceptionTest, RemembersTheLastErrorOfThisThread )
{
    XException exception( 1005 );
    EXPECT_EQ( XException::GetLastError(), 1005u );
    exception.SetErrorNumber( 1012 );
    EXPECT_EQ( exception.GetErrorNumber(), 1012u );
    EXPECT_EQ( XException::GetLastError(), 1012u );
    XException::ResetLastError();
    EXPECT_EQ( XException::GetLastError(), 0u );
}

TEST( XExceptionTest, ForeignThreadsRememberNothing )
{
    XException::SetLastError( 1007 );
    std::uint32_t foreign = 1;
    std::uint32_t prepared = 0;
    std::thread thread(
        [&]
        {
            const XException first( 1005 );
            foreign = XException::GetLastError();
            std::uint32_t slot = 0;
            XException::SetLastErrorSlot( &slot );
            const XException second( 1015 );
            prepared = XException::GetLastError();
        } );
    thread.join();
    EXPECT_EQ( foreign, 0u );
    EXPECT_EQ( prepared, 1015u );
    EXPECT_EQ( XException::GetLastError(), 1007u );
}

TEST( XExceptionTest, IsAStandardExceptionWithItsText )
{
    XException number( 1005 );
    try
    {
        throw number;
    }
    catch ( const std::exception& exception )
    {
        EXPECT_STREQ( exception.what(), "the stream is corrupted (1005)" );
        EXPECT_EQ( exception.what(), exception.what() );
    }
    const XException copy( number );
    EXPECT_NE( copy.what(), number.what() );
    number.SetErrorNumber( 1021 );
    EXPECT_STREQ( number.what(), "access was denied (1021)" );
    number = copy;
    EXPECT_STREQ( number.what(), "the stream is corrupted (1005)" );

    const XInternalException internal( "count > 0", "XFile.cpp", 7 );
    const std::exception& standard = internal;
    std::thread other( [&] { EXPECT_STREQ( standard.what(), internal.what() ); } );
    EXPECT_STREQ(
        standard.what(), "an internal error occurred: count > 0 in \"XFile.cpp\" at line 7 (1006)" );
    other.join();
}
