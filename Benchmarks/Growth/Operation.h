#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

using Seconds = std::chrono::duration<double>;

/// An operation whose time is meant to grow in proportion to a size: how many matches, rows, jobs, listeners.
struct Operation
{
    std::string itsName;
    std::size_t itsSmallest; ///< size; 4, 16 and 64 times that are run too

    /// Does the operation at a size and returns the time without preparation.
    std::function<Seconds( std::size_t )> itsRun;
};
using Operations = std::vector<Operation>;

/// The time of an action: that of the processors, for what else runs on the machine lengthens long runs more than short
/// ones.
template<class Action>
Seconds Time( Action inAction )
{
    const auto begin = std::clock();
    inAction();
    return Seconds( static_cast<double>( std::clock() - begin ) / CLOCKS_PER_SEC );
}

// The operations of each subsystem.
void AddStringOperations( Operations& ioOperations );
void AddStreamOperations( Operations& ioOperations );
void AddMessagingOperations( Operations& ioOperations );
void AddJobOperations( Operations& ioOperations );
void AddNetJobOperations( Operations& ioOperations );
void AddMemoryOperations( Operations& ioOperations );
void AddTableOperations( Operations& ioOperations );
