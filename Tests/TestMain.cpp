#include <gtest/gtest.h>

int main( int inArgCount, char** inArgs )
{
    testing::InitGoogleTest( &inArgCount, inArgs );
    return RUN_ALL_TESTS();
}
