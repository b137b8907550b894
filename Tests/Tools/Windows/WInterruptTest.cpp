#include "Process/WInterrupt.h"
#include "Commands/Command.h"
#include "Testing.h"

#include <windows.h>

namespace
{
constexpr int kInterruptedStatus = 7;

/// What the system does in the process when its console is closed: runs the handlers on a thread of its own.
void CloseConsole()
{
    const auto run = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>( GetProcAddress( GetModuleHandleW( L"kernelbase" ), "CtrlRoutine" ) ) );
    const auto event = reinterpret_cast<void*>( static_cast<std::uintptr_t>( CTRL_CLOSE_EVENT ) );
    CloseHandle( CreateThread( nullptr, 0, run, event, 0, nullptr ) );
}

[[noreturn]] void EndAfterConsoleIsClosed()
{
    {
        const WInterrupt interrupt( { 1, 1, 60000, nullptr } );
        CloseConsole();
        while ( !WInterrupt::IsRequested() )
            std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
    }
    std::exit( kInterruptedStatus );
}
} // namespace

TEST( WInterruptDeathTest, ProcessThatLosesItsConsoleEndsByItself )
{
    EXPECT_EXIT( EndAfterConsoleIsClosed(), testing::ExitedWithCode( kInterruptedStatus ), "" );
}
