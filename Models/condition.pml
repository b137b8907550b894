/* XConditionVariable over a mutex: a waiter is queued before it lets go of the mutex; a signal takes waiters from the
 * queue, longest first, and wakes them afterwards, or, where the signalling thread holds the mutex, moves them to the
 * threads that an unlock of the mutex wakes, one at a time; a waiter that leaves by time-out or by a stop takes itself
 * out, and a stopped one passes on a signal that had reached it.
 *
 * The producer makes one item for each consumer and signals once for each. Leavers wait like consumers but may time out
 * or be stopped, and take nothing: one that is signalled hands the signal on.
 * Shown over every interleaving: no wake-up is lost (every consumer gets its item, nobody sleeps for ever), and a thread
 * that times out or is stopped takes no signal with it. */

#ifndef CONSUMERS
#define CONSUMERS 2
#endif
#ifndef LEAVERS
#define LEAVERS 1
#endif
#define N ( CONSUMERS + LEAVERS )
#include "parking.pml"

bool mutex;        /* shown by its own model */
byte waiterCount;  /* what a signal looks at first */
bool isSignalledAlone[N + 1];
byte items;

bool isMoved[N + 1]; /* waits for an unlock of the mutex */

inline LockMutex()
{
    atomic { !mutex -> mutex = true }
}

/* Wakes one of those that wait for it. */
inline UnlockMutex()
{
    atomic
    {
        at = 1;
        do
        :: at <= N && !isMoved[at] -> at++
        :: else -> break
        od;
        if
        :: at <= N -> next = at; isMoved[at] = false
        :: else
        fi;
        at = 0;
        mutex = false
    };
    if
    :: next != NOBODY -> Release( next ); next = NOBODY
    :: else
    fi
}

inline Enqueue( t )
{
    atomic { isSignalledAlone[t] = false; waiterCount++; Append( t ) }
}

inline Signal( holdsMutex )
{
    if
    :: waiterCount == 0
    :: else ->
        atomic
        {
            TakeFirst( next );
            if
            :: next != NOBODY -> waiterCount--; isSignalledAlone[next] = true
            :: else
            fi
        };
        if
        :: next != NOBODY && holdsMutex -> atomic { isMoved[next] = true; next = NOBODY }
        :: next != NOBODY && !holdsMutex -> Release( next ); next = NOBODY
        :: else
        fi
    fi
}

/* Leaves before a signal: `hasLeft` is false when one had reached the thread, whose release is then waited for. */
inline Leave( t )
{
    atomic
    {
        hasLeft = isQueued[t];
        if
        :: hasLeft -> Remove( t ); waiterCount--
        :: else
        fi
    };
    if
    :: !hasLeft -> Wait( t, false )
    :: else
    fi
}

proctype Consumer( byte t; bool mayLeave )
{
    byte next, at;
    bool isReleased, hasLeft, hasGivenUp, mustWake;

    LockMutex();
    do
    :: items > 0 || hasGivenUp -> break
    :: else ->
        Enqueue( t );
        UnlockMutex();
        Wait( t, mayLeave );
        if
        :: !isReleased ->
            Leave( t );
            if
            :: hasGivenUp = hasLeft /* the time is over; a signal that came first counts */
            :: hasGivenUp = true;   /* a stop */
                if
                :: !hasLeft && isSignalledAlone[t] -> Signal( false )
                :: else
                fi
            fi
        :: else
        fi;
        LockMutex()
    od;
    if
    :: !mayLeave -> items--
    :: else
    fi;
    UnlockMutex();
    if
    :: mayLeave && !hasGivenUp -> Signal( false )
    :: else
    fi
}

proctype Producer()
{
    byte made, next, at;
    bool mustWake;

    do
    :: made < CONSUMERS ->
        LockMutex();
        items++;
        if
        :: Signal( true ); UnlockMutex()
        :: UnlockMutex(); Signal( false )
        fi;
        made++
    :: else -> break
    od
}

init
{
    byte t = 1;
    atomic
    {
        run Producer();
        do
        :: t <= N -> run Consumer( t, t > CONSUMERS ); t++
        :: else -> break
        od
    };
    _nr_pr == 1;
    assert( queued == 0 && waiterCount == 0 && items == 0 )
}
