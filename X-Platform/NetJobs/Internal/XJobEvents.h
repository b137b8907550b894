#pragma once

#include "NetJobs/Internal/XNetJobScheduler.h"
#include "NetJobs/XNetJobEvent.h"

#include <utility>

/// Events of a job and the key of the job that they are about.
namespace XJobEvents
{

inline XNetJobScheduler::XJobKey GetKey( const XNetJobEvent& inEvent )
{
    return { inEvent.clientID, inEvent.jobQueueID, inEvent.jobID };
}

inline XNetJobEvent MakeEvent(
    XNetJobEvent::XKind inKind, const XNetJobScheduler::XJobKey& inKey, std::uint64_t inValue = 0,
    XVector<std::uint8_t> inBytes = {} )
{
    return { inKind, inKey.clientID, inKey.jobQueueID, inKey.jobID, inValue, std::move( inBytes ) };
}

} // namespace XJobEvents
