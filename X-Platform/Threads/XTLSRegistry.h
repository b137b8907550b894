#pragma once

#include "Ground/XTypes.h"

/// Per-thread data by key, kept in the slots of the current XThread. Zero until registered.
/// Threads: each thread sees its own values. On a thread that no XThread owns all data reads as 0, and
/// changing it is an internal error, "slots".
class KORVALE_API XTLSRegistry
{
public:
    enum XDataKey : std::uint32_t
    {
        kApplicationData0 = 0,
        /// The job that a worker runs.
        kCurrentJob = 1,
        /// The thread's progress strategy, deleted when the thread ends.
        kProgressStrategy = 2,
        kApplicationData1 = 3,
        kApplicationData2 = 4,
        kKeyCount = 5
    };
    using XSlots = XVector<std::uint64_t>;

    /// Disposes of a slot's value when its thread ends or its XThread is destroyed. Must not throw.
    using XCleanUp = void ( * )( std::uint64_t inValue );

    static void RegisterData( XDataKey inKey, std::uint64_t inValue );
    static void RegisterDataPtr( XDataKey inKey, void* inPointer );
    static std::uint64_t GetData( XDataKey inKey );
    static void* GetDataPtr( XDataKey inKey );

    static void IncrementData( XDataKey inKey );
    static void DecrementData( XDataKey inKey );

    /// An internal error, "data != 0", when there is nothing left to count down.
    static void AssertNotZeroAndDecrementData( XDataKey inKey );

    /// Says how the values of a key are disposed of. Set once, by the key's user, before threads have such
    /// values; null, the default, leaves them alone.
    static void SetCleanUp( XDataKey inKey, XCleanUp inCleanUp );

private:
    friend class XThread;

    /// The calling thread's slots; null where no XThread owns it.
    static void SetCurrentSlots( XSlots* inSlots );

    /// Disposes of all values and empties the slots.
    static void CleanUp( XSlots& ioSlots ) noexcept;
};
