/* XMutex: a free one is claimed by one compare-and-swap; who finds it taken sleeps in the parking queue; who was woken
 * and came too late is handed the mutex the next time. Waits have a deadline or none.
 *
 * Shown over every interleaving: one owner at a time, nobody sleeps for ever (no invalid end state), the mark of sleepers is there whenever
 * somebody is queued. */

#ifndef N
#define N 3
#endif
#ifndef ROUNDS
#define ROUNDS 2
#endif
#include "parking.pml"

byte owner;    /* of itsState: the owner's ID */
bool sleepers; /* and kSleepers */
bool wantsHandOff[N + 1];
bool isHandedOver[N + 1];

byte inside; /* threads that believe to own the mutex */

inline TryClaim( t )
{
    if
    :: owner == NOBODY -> owner = t; isOwner = true
    :: else
    fi
}

/* Enqueue and Wait; then out of the queue if the deadline has passed and nobody has taken the thread from it. */
inline Park( t )
{
    atomic
    {
        isParked = ( owner != NOBODY );
        if
        :: isParked -> sleepers = true; isHandedOver[t] = false; Append( t )
        :: else
        fi
    };
    if
    :: isParked ->
        Wait( t, hasDeadline );
        if
        :: !isReleased ->
            atomic
            {
                if
                :: isQueued[t] -> Remove( t ); hasGivenUp = true; sleepers = ( sleepers && queued > 0 )
                :: else
                fi
            };
            if
            :: !hasGivenUp -> Wait( t, false )
            :: else
            fi
        :: else
        fi;
        if
        :: !hasGivenUp && isHandedOver[t] -> isOwner = true
        :: else
        fi
    :: else
    fi;
    isParked = false;
    isReleased = false
}

inline Lock( t )
{
    hasGivenUp = false;
    wantsHandOff[t] = false;
    atomic { TryClaim( t ) };
    do
    :: isOwner || hasGivenUp -> break
    :: else ->
        Park( t );
        if
        :: !isOwner -> atomic { TryClaim( t ) }
        :: else
        fi;
        wantsHandOff[t] = true
    od
}

inline Unlock( t )
{
    atomic
    {
        if
        :: !sleepers -> owner = NOBODY; isOwner = false
        :: else
        fi
    };
    if
    :: isOwner ->
        atomic
        {
            TakeFirst( next );
            sleepers = ( queued > 0 );
            if
            :: next != NOBODY && wantsHandOff[next] -> isHandedOver[next] = true; owner = next
            :: else -> owner = NOBODY
            fi;
            isOwner = false
        };
        if
        :: next != NOBODY -> Release( next ); next = NOBODY
        :: else
        fi
    :: else
    fi
}

proctype Thread( byte t )
{
    byte round, next, at;
    bool hasDeadline, isOwner, isParked, isReleased, hasGivenUp, mustWake;

    do
    :: round < ROUNDS ->
        if
        :: hasDeadline = true
        :: hasDeadline = false
        fi;
        Lock( t );
        if
        :: isOwner ->
            atomic { inside++; assert( inside == 1 && owner == t ) };
            inside--;
            Unlock( t )
        :: else
        fi;
        round++
    :: else -> break
    od
}

init
{
    byte t = 1;
    atomic
    {
        do
        :: t <= N -> run Thread( t ); t++
        :: else -> break
        od
    };
    _nr_pr == 2;
    assert( owner == NOBODY && queued == 0 && !sleepers )
}

active proctype Invariant()
{
    end: atomic { queued > 0 && !sleepers -> assert( false ) }
}
