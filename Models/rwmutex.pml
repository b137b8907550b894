/* XRWMutex: everything is decided under an inner mutex; threads that cannot go on wait on condition variables. Both
 * are shown by their own models, so here a monitor is one step and a wait is a flag that a signal clears.
 *
 * Threads read, write, share a write with readers and go exclusive inside it, or read and then ask to write as well; a
 * writer's wait has a deadline or none. A thread that asks to write while it reads, or to go exclusive, is refused while
 * another one waits for that, since each would wait for the other.
 * Shown over every interleaving: writers exclude whom they should, nobody waits for ever, a writer that gives up leaves
 * the others able to go on. */

#ifndef READERS
#define READERS 1
#endif
#ifndef WRITERS
#define WRITERS 1
#endif
#ifndef SHARERS
#define SHARERS 1
#endif
#ifndef UPGRADERS
#define UPGRADERS 1
#endif
#ifndef ROUNDS
#define ROUNDS 1
#endif
#define N ( READERS + WRITERS + SHARERS + UPGRADERS )
#define NOBODY 0

bool isReading[N + 1];
byte activeReads;
byte writer;          /* the active one */
byte exclusiveWrites; /* of the active writer */
byte upgrader;        /* a reader that waits to write, or the active writer that waits for the readers it let in */
byte pending[N + 1];  /* writers that wait, first come first, a reader among them in front */
byte pendingCount;

bool isAsleep[N + 1]; /* on one of the condition variables */
bool waitsToRead[N + 1];

#define MAY_READ ( pendingCount == 0 && upgrader == NOBODY && exclusiveWrites == 0 )
#define OTHERS_READ( t ) ( activeReads > 1 || ( activeReads == 1 && !isReading[t] ) )
#define MAY_WRITE( t ) ( pending[0] == t && writer == NOBODY && !OTHERS_READ( t ) )

inline WakeThreads()
{
    if
    :: writer != NOBODY && upgrader == writer ->
        if
        :: !OTHERS_READ( writer ) -> isAsleep[writer] = false
        :: else
        fi
    :: else ->
        if
        :: pendingCount > 0 ->
            if
            :: MAY_WRITE( pending[0] ) -> isAsleep[pending[0]] = false
            :: else
            fi
        :: else ->
            if
            :: MAY_READ ->
                at = 1;
                do
                :: at <= N ->
                    if
                    :: waitsToRead[at] -> isAsleep[at] = false
                    :: else
                    fi;
                    at++
                :: else -> break
                od;
                at = 0
            :: else
            fi
        fi
    fi
}

inline LockForRead( t )
{
    do
    :: atomic { MAY_READ -> waitsToRead[t] = false; isReading[t] = true; activeReads++; break }
    :: atomic { !MAY_READ -> waitsToRead[t] = true; isAsleep[t] = true };
        !isAsleep[t]
    od
}

inline UnlockRead( t )
{
    atomic { isReading[t] = false; activeReads--; WakeThreads() }
}

inline AddPending( t )
{
    at = pendingCount;
    do
    :: at > 0 && isReading[t] -> pending[at] = pending[at - 1]; at--
    :: else -> break
    od;
    pending[at] = t;
    pendingCount++;
    at = 0
}

inline ForgetPending( t )
{
    at = 0;
    do
    :: pending[at] != t -> at++
    :: else -> break
    od;
    pendingCount--;
    do
    :: at < pendingCount -> pending[at] = pending[at + 1]; at++
    :: else -> break
    od;
    pending[pendingCount] = NOBODY;
    at = 0;
    if
    :: upgrader == t -> upgrader = NOBODY
    :: else
    fi
}

/* `exclusive` is 1 for a write lock, 0 for one that lets readers in. */
inline LockForWrite( t, exclusive )
{
    atomic
    {
        hasGivenUp = ( isReading[t] && upgrader != NOBODY ); /* refused */
        if
        :: hasGivenUp
        :: !hasGivenUp && isReading[t] -> AddPending( t ); upgrader = t
        :: else -> AddPending( t )
        fi
    };
    do
    :: hasGivenUp -> break
    :: atomic
        {
            !hasGivenUp && MAY_WRITE( t ) ->
            ForgetPending( t );
            writer = t;
            exclusiveWrites = exclusive;
            if
            :: exclusive == 0 -> WakeThreads()
            :: else
            fi;
            break
        }
    :: atomic { !hasGivenUp && !MAY_WRITE( t ) -> isAsleep[t] = true };
        if
        :: !isAsleep[t]
        :: atomic { hasDeadline -> ForgetPending( t ); WakeThreads(); isAsleep[t] = false; hasGivenUp = true; break }
        fi
    od
}

/* The holder of a shared write lock goes exclusive. */
inline WaitForReadersToFinish( t )
{
    atomic
    {
        hasGivenUp = ( upgrader != NOBODY ); /* refused */
        if
        :: !hasGivenUp -> upgrader = t
        :: else
        fi
    };
    do
    :: hasGivenUp -> break
    :: atomic { !hasGivenUp && !OTHERS_READ( t ) -> upgrader = NOBODY; exclusiveWrites++; break }
    :: atomic { !hasGivenUp && OTHERS_READ( t ) -> isAsleep[t] = true };
        if
        :: !isAsleep[t]
        :: atomic { hasDeadline -> upgrader = NOBODY; isAsleep[t] = false; hasGivenUp = true; WakeThreads(); break }
        fi
    od
}

inline UnlockWrite()
{
    atomic { exclusiveWrites = 0; writer = NOBODY; WakeThreads() }
}

inline CheckReading( t )
{
    assert( isReading[t] && exclusiveWrites == 0 )
}

inline CheckWriting( t )
{
    assert( writer == t && !OTHERS_READ( t ) )
}

proctype Reader( byte t )
{
    byte round, at;
    do
    :: round < ROUNDS -> LockForRead( t ); CheckReading( t ); UnlockRead( t ); round++
    :: else -> break
    od
}

proctype Writer( byte t )
{
    byte round, at;
    bool hasDeadline, hasGivenUp;
    if
    :: hasDeadline = true
    :: hasDeadline = false
    fi;
    do
    :: round < ROUNDS ->
        LockForWrite( t, 1 );
        if
        :: !hasGivenUp -> CheckWriting( t ); UnlockWrite()
        :: else
        fi;
        round++
    :: else -> break
    od
}

proctype Sharer( byte t )
{
    byte at;
    bool hasDeadline, hasGivenUp;
    if
    :: hasDeadline = true
    :: hasDeadline = false
    fi;
    LockForWrite( t, 0 );
    if
    :: !hasGivenUp ->
        assert( writer == t );
        WaitForReadersToFinish( t );
        if
        :: !hasGivenUp -> CheckWriting( t )
        :: else
        fi;
        UnlockWrite()
    :: else
    fi
}

proctype Upgrader( byte t )
{
    byte at;
    bool hasDeadline, hasGivenUp;
    if
    :: hasDeadline = true
    :: hasDeadline = false
    fi;
    LockForRead( t );
    CheckReading( t );
    LockForWrite( t, 1 );
    if
    :: !hasGivenUp -> CheckWriting( t ); UnlockWrite()
    :: else
    fi;
    UnlockRead( t )
}

init
{
    byte t = 1;
    atomic
    {
        do
        :: t <= READERS -> run Reader( t ); t++
        :: t > READERS && t <= READERS + WRITERS -> run Writer( t ); t++
        :: t > READERS + WRITERS && t <= READERS + WRITERS + SHARERS -> run Sharer( t ); t++
        :: t > READERS + WRITERS + SHARERS && t <= N -> run Upgrader( t ); t++
        :: else -> break
        od
    };
    _nr_pr == 1;
    assert( activeReads == 0 && writer == NOBODY && pendingCount == 0 && upgrader == NOBODY )
}
