/* What all waits of the library rest on: a word per waiting thread, on which it sleeps, and a queue of waiting threads
 * under a lock of its own (WParkingNode, WParkingQueue).
 *
 * Threads are numbered from 1 to N; thread t waits with node t. What a thread does under the queue's lock touches at
 * most one thing that others change without that lock, so it is one step here; everything else that other threads can
 * see is a step of its own. */

#define NOBODY 0

/* The word of a node, and whether the thread sleeps on it. */
bool released[N + 1];
bool sleeping[N + 1]; /* the thread has said that it is going to sleep */
bool inKernel[N + 1]; /* it does sleep */

/* The queue: first in, first out. */
byte queue[N + 1];
byte queued;
bool isQueued[N + 1];

inline Append( t )
{
    assert( !isQueued[t] );
    released[t] = false;
    sleeping[t] = false;
    queue[queued] = t;
    queued++;
    isQueued[t] = true
}

inline RemoveAt( first )
{
    at = first;
    isQueued[queue[at]] = false;
    queued--;
    do
    :: at < queued -> queue[at] = queue[at + 1]; at++
    :: else -> break
    od;
    queue[queued] = NOBODY;
    at = 0
}

/* Takes the thread that has waited longest, or NOBODY. */
inline TakeFirst( t )
{
    if
    :: queued > 0 -> t = queue[0]; RemoveAt( 0 )
    :: else -> t = NOBODY
    fi
}

/* Takes a queued thread out, wherever it stands. */
inline Remove( t )
{
    at = 0;
    do
    :: queue[at] != t -> at++
    :: else -> break
    od;
    RemoveAt( at )
}

/* The word, then the kernel if the sleeper has said that it sleeps. */
inline Release( t )
{
    atomic { released[t] = true; mustWake = sleeping[t] };
    if
    :: mustWake -> atomic { inKernel[t] = false; mustWake = false }
    :: else
    fi
}

/* Sleeps until released, or, where `mayExpire`, until the deadline has passed, which it may at any moment;
 * `isReleased` tells which. The kernel lets the thread sleep only if the word is still what the thread saw. */
inline Wait( t, mayExpire )
{
    do
    :: atomic { released[t] -> isReleased = true; break }
    :: atomic { !released[t] && !sleeping[t] -> sleeping[t] = true }
    :: atomic { !released[t] && sleeping[t] -> inKernel[t] = true };
        if
        :: !inKernel[t]
        :: atomic { mayExpire && inKernel[t] -> inKernel[t] = false; isReleased = false; break }
        fi
    od
}
