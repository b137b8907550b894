#pragma once

#include "Sockets/WConnection.h"
#include "Threads/XCheckpoint.h"

/// Does what may wait on a connection: after a checkpoint, and again after each that an alert has brought about. The first
/// is for threads that always find something to do.
template<class TOperation>
WConnection::Outcome XWaitObediently( TOperation inOperation )
{
    for ( ;; )
    {
        XRunCheckpoint();
        const WConnection::Outcome outcome = inOperation();
        if ( outcome.status != WConnection::kAlerted )
            return outcome;
    }
}
