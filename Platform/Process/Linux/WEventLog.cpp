#include "Process/WEventLog.h"

#include <algorithm>
#include <climits>

#include <syslog.h>

namespace
{

int GetPriority( WEventLog::Type inType )
{
    switch ( inType )
    {
    case WEventLog::kError:
        return LOG_ERR;
    case WEventLog::kWarning:
        return LOG_WARNING;
    case WEventLog::kInformation:
        return LOG_INFO;
    }
    return LOG_NOTICE;
}

} // namespace

void WEventLog::AddMsgToSystemEventLog(
    std::string_view inMessage, Type inType, std::uint32_t inEventID ) noexcept
{
    const auto length = static_cast<int>( std::min<std::size_t>( inMessage.size(), INT_MAX ) );
    ::syslog( LOG_USER | GetPriority( inType ), "[event 0x%08X] %.*s", inEventID, length, inMessage.data() );
}
