#include "System/WStringTable.h"

#include "Testing.h"

TEST( WStringTableTest, TheModuleHoldsTheWholeSourceList )
{
#define KORVALE_STRING( inNumber, inText ) EXPECT_EQ( WStringTable::Load( inNumber ), inText );
#include "System/WStringTable.inc"
#undef KORVALE_STRING
}

TEST( WStringTableTest, FindsNothingElse )
{
    for ( const std::uint32_t number : { 0u, 999u, 1031u, 1265u, 65535u, 66536u, 0xFFFFFFFFu } )
        EXPECT_FALSE( WStringTable::Load( number ) ) << number;
}
