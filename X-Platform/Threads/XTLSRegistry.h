#pragma once

#include "Ground/XTypes.h"

/// Per-thread data by key, stored in the slots of the current XThread. 0 until registered.
/// Threads: each thread has its own values. On a thread without an XThread all values read as 0, and changing
/// one is an internal error, "slots".
class KORVALE_API XTLSRegistry
{
public:
    enum XDataKey : std::uint32_t
    {
        kApplicationData0 = 0,
        /// The job that a worker is running.
        kCurrentJob = 1,
        /// The thread's progress strategy, deleted when the thread ends.
        kProgressStrategy = 2,
        kApplicationData1 = 3,
        kApplicationData2 = 4,
        kKeyCount = 5
    };
    using XSlots = XVector<std::uint64_t>;

    /// Destroys the value of a slot when its thread ends or its XThread is destroyed. Must not throw.
    using XCleanUp = void ( * )( std::uint64_t inValue );

    static void RegisterData( XDataKey inKey, std::uint64_t inValue );
    static void RegisterDataPtr( XDataKey inKey, void* inPointer );
    static std::uint64_t GetData( XDataKey inKey );
    static void* GetDataPtr( XDataKey inKey );

    static void IncrementData( XDataKey inKey );
    static void DecrementData( XDataKey inKey );

    /// Decrements the value; an internal error, "data != 0", if it is 0.
    static void AssertNotZeroAndDecrementData( XDataKey inKey );

    /// Sets the clean-up function of a key. Called once, by the user of the key, before threads have such
    /// values; null, the default, does nothing.
    static void SetCleanUp( XDataKey inKey, XCleanUp inCleanUp );

private:
    friend class XThread;

    /// The calling thread's slots; null if it has no XThread.
    static void SetCurrentSlots( XSlots* inSlots );

    /// Cleans up all values and empties the slots.
    static void CleanUp( XSlots& ioSlots ) noexcept;
};
