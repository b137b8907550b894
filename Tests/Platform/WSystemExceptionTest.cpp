#include "Core/Errors/WCOMException.h"
#include "Core/Errors/WDirectXException.h"
#include "Core/Errors/WLastErrorException.h"
#include "Core/Errors/WNTStatusException.h"

#include "Ground/XFail.h"
#include "System/WSystemError.h"
#include "Testing.h"

namespace
{
struct Mapping
{
    std::uint32_t itsCode;
    std::uint32_t itsNumber;
};

template<class Map>
void ExpectMappings( std::initializer_list<Mapping> inMappings, Map inMap )
{
    for ( const auto& mapping : inMappings )
        EXPECT_EQ( inMap( mapping.itsCode ), mapping.itsNumber ) << std::hex << mapping.itsCode;
}
} // namespace

TEST( WSystemExceptionTest, MapsWin32Codes )
{
    ExpectMappings(
        { { 5, 1021 },     { 14, 1012 },    { 31, 3076 },    { 1167, 3076 },  { 86, 3131 },
          { 109, 3100 },   { 232, 3100 },   { 10004, 3100 }, { 10009, 3100 }, { 10038, 3100 },
          { 10053, 3100 }, { 10054, 3100 }, { 112, 1263 },   { 1351, 3114 },  { 1450, 1028 },
          { 2221, 3130 },  { 2226, 3113 },  { 2245, 3112 },  { 10060, 2701 }, { 2, 2 },
          { 0, 0 },        { 10061, 10061 } },
        WLastErrorException::MapWin32ErrorCodeToKorvaleError );
}

TEST( WSystemExceptionTest, MapsStatuses )
{
    ExpectMappings(
        { { 0xC0000017, 1012 },
          { 0xC0000022, 1021 },
          { 0xC000007F, 1263 },
          { 0xC000009A, 1028 },
          { 0xC00000B5, 2701 },
          { 0xC000020D, 3100 },
          { 0xC0000034, 2 } },
        WNTStatusException::MapNTStatusToKorvaleError );
    EXPECT_EQ( WNTStatusException( 0xC0000022 ).MapNTStatusToWin32ErrorCode(), 5u );
    EXPECT_EQ( WNTStatusException( 0xC0000022 ).GetNTSTATUS(), 0xC0000022u );
    EXPECT_EQ( WNTStatusException::MapNTStatusToKorvaleError( 0xC0001234 ), 0xC0001234u );
}

TEST( WSystemExceptionTest, MapsResults )
{
    const std::initializer_list<Mapping> results = {
        { 0x8007000E, 1012 },       { 0x80070005, 1021 },      { 0x80070057, 1013 }, { 0x80004004, 1001 },
        { 0x80010108, 3100 },       { 0x80070070, 1263 },      { 0x80070002, 2 },    { 0xD0000017, 1012 },
        { 0xD0001234, 0xD0001234 }, { 0x80004005, 0x80004005 } };
    ExpectMappings( results, WCOMException::MapHRESULTToKorvaleError );
    ExpectMappings( results, WDirectXException::MapDirectXResultToKorvaleError );
    ExpectMappings(
        { { 0x887A0005, 3076 }, { 0x8876017C, 1012 }, { 0x88760868, 3076 }, { 0x887A0001, 1013 } },
        WDirectXException::MapDirectXResultToKorvaleError );
}

TEST( WSystemExceptionTest, TakesTheLastSystemErrorAndClearsIt )
{
    WSystemError::SetLast( 5 );
    const WLastErrorException exception;
    EXPECT_EQ( exception.GetErrorNumber(), 1021u );
    EXPECT_EQ( exception.GetWin32ErrorCode(), 5u );
    EXPECT_EQ( WSystemError::GetLast(), 0u );
    EXPECT_EQ( XException::GetLastError(), 1021u );

    WSystemError::SetLast( 2 );
    EXPECT_EQ( WLastErrorException( 112 ).GetErrorNumber(), 1263u );
    EXPECT_EQ( WSystemError::GetLast(), 2u );
    EXPECT_ERROR( 2, XThrowLastSystemError() );
    EXPECT_EQ( WSystemError::GetLast(), 0u );
}

TEST( WSystemExceptionTest, ShowsTheSystemsTextWithTheLibrarysNumber )
{
    const auto text = WSystemError::GetText( 5 );
    ASSERT_FALSE( text.empty() );
    EXPECT_EQ( MessageOf( WLastErrorException( 5 ) ), text + " (1021)" );
    EXPECT_EQ( MessageOf( WNTStatusException( 0xC0000022 ) ), text + " (1021)" );
    EXPECT_EQ( MessageOf( WCOMException( 0x80070005 ) ), text + " (1021)" );
    EXPECT_TRUE( WLastErrorException( 5 ).ShouldReportError() );
}

TEST( WSystemExceptionTest, NamesCodesThatNobodyHasATextFor )
{
    // 0x1F00FFxx belongs to no facility.
    EXPECT_EQ( MessageOf( WLastErrorException( 0x1F00FF01 ) ), "system error 520158977 (520158977)" );
    EXPECT_EQ( MessageOf( WCOMException( 0x8AAA1234 ) ), "system error 0x8AAA1234 (2326401588)" );
}
