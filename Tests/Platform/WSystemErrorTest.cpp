#include "System/WSystemError.h"

#include "Testing.h"

TEST( WSystemErrorTest, KeepsWindowsNumbersForErrno )
{
    EXPECT_EQ( WSystemError::FromErrno( 0 ), 0u );
    EXPECT_EQ( WSystemError::FromErrno( EACCES ), 5u );
    EXPECT_EQ( WSystemError::FromErrno( ENOENT ), 2u );
    EXPECT_EQ( WSystemError::FromErrno( ENOMEM ), 14u );
    EXPECT_EQ( WSystemError::FromErrno( ENOSPC ), 112u );
    EXPECT_EQ( WSystemError::FromErrno( ECONNRESET ), 10054u );
    EXPECT_EQ( WSystemError::FromErrno( EPIPE ), 10054u );
    EXPECT_EQ( WSystemError::ToErrno( 10054 ), ECONNRESET );
    EXPECT_EQ( WSystemError::FromErrno( ETIMEDOUT ), 10060u );

    constexpr int kUnknownErrno = EDOM;
    const auto code = WSystemError::FromErrno( kUnknownErrno );
    EXPECT_EQ( code, 0x20000000u + static_cast<unsigned>( kUnknownErrno ) );
    EXPECT_EQ( WSystemError::GetText( code ), std::generic_category().message( kUnknownErrno ) );
    EXPECT_EQ( WSystemError::FromErrorCode( std::make_error_code( std::errc::no_space_on_device ) ), 112u );
}
