#include "Core/Errors/XInternalErrorHandlers.h"
#include "Startup/WInitCore.h"

#include <gtest/gtest.h>

int main( int inArgCount, char** inArgs )
{
    testing::InitGoogleTest( &inArgCount, inArgs );
    const WInitCore core;
    // Tests break invariants on purpose; that is no news for the system's event log.
    auto handlers = XInternalErrorHandlers::Get();
    handlers.AddToEventLog = nullptr;
    XInternalErrorHandlers::Install( handlers );
    return RUN_ALL_TESTS();
}
