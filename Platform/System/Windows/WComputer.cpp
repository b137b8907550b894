#include "System/WComputer.h"

#include <windows.h>
#include <winternl.h>

// Exported by ntdll, but declared only in the headers for drivers.
extern "C" NTSTATUS NTAPI RtlGetVersion( OSVERSIONINFOW* outVersion );

namespace
{

const char* GetArchitecture()
{
    SYSTEM_INFO info{};
    ::GetNativeSystemInfo( &info );
    switch ( info.wProcessorArchitecture )
    {
    case PROCESSOR_ARCHITECTURE_AMD64:
        return " x86_64";
    case PROCESSOR_ARCHITECTURE_ARM64:
        return " aarch64";
    default:
        return "";
    }
}

} // namespace

std::string WComputer::GetSystemDescription()
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    if ( ::RtlGetVersion( &version ) != 0 ) // GetVersionEx tells what the program was made for
        return {};
    return "Windows " + std::to_string( version.dwMajorVersion ) + "." +
        std::to_string( version.dwMinorVersion ) + "." + std::to_string( version.dwBuildNumber ) +
        GetArchitecture();
}

std::uint32_t WComputer::GetProcessID()
{
    return ::GetCurrentProcessId();
}
