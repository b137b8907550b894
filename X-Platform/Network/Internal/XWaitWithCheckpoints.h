#pragma once

#include "Sockets/WConnection.h"
#include "Threads/XCheckpoint.h"

/// Runs an operation that may wait on a connection: after a checkpoint, and again after a checkpoint each
/// time it is alerted. The first checkpoint is for threads that never have to wait.
template<class TOperation>
WConnection::Outcome XWaitWithCheckpoints( TOperation inOperation )
{
    for ( ;; )
    {
        XRunCheckpoint();
        const WConnection::Outcome outcome = inOperation();
        if ( outcome.status != WConnection::kAlerted )
            return outcome;
    }
}
