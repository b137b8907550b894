#pragma once

#include "NetJobs/XNetJobEvent.h"

#include <deque>

/// Takes the first events, of at most this many bytes of jobs and results, but at least one if there is any.
inline XVector<XNetJobEvent> XTakeBatch( std::deque<XNetJobEvent>& ioEvents, USize64 inMostBytes )
{
    XVector<XNetJobEvent> batch;
    for ( USize64 bytes = 0; !ioEvents.empty(); ioEvents.pop_front() )
    {
        bytes += ioEvents.front().bytes.size();
        if ( !batch.empty() && bytes > inMostBytes )
            break;
        batch.push_back( std::move( ioEvents.front() ) );
    }
    return batch;
}
