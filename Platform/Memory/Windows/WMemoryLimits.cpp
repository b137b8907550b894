#include "Memory/WMemoryLimits.h"

#include <windows.h>
// after windows.h
#include <psapi.h>

std::uint64_t WMemoryLimits::GetMachineBytes()
{
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof( status );
    return ::GlobalMemoryStatusEx( &status ) ? status.ullTotalPhys : kUnlimited;
}

std::uint64_t WMemoryLimits::GetProcessBytes()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    return ::K32GetProcessMemoryInfo( ::GetCurrentProcess(), &counters, sizeof( counters ) )
        ? counters.WorkingSetSize
        : 0;
}

std::uint64_t WMemoryLimits::GetContainerBytes()
{
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION info = {};
    if ( !::QueryInformationJobObject(
             nullptr, JobObjectExtendedLimitInformation, &info, sizeof( info ), nullptr ) )
        return kUnlimited;
    const DWORD flags = info.BasicLimitInformation.LimitFlags;
    return flags & JOB_OBJECT_LIMIT_JOB_MEMORY ? info.JobMemoryLimit : kUnlimited;
}

std::uint64_t WMemoryLimits::ReadControlGroups( const std::filesystem::path&, const std::filesystem::path& )
{
    return kUnlimited;
}
