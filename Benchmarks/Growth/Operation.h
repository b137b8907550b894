#pragma once

#include <chrono>
#include <cstddef>
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

/// The time of an action.
template<class Action>
Seconds Time( Action inAction )
{
    const auto begin = std::chrono::steady_clock::now();
    inAction();
    return std::chrono::steady_clock::now() - begin;
}

// The operations of each subsystem.
void AddStringOperations( Operations& ioOperations );
void AddStreamOperations( Operations& ioOperations );
void AddMessagingOperations( Operations& ioOperations );
void AddJobOperations( Operations& ioOperations );
void AddMemoryOperations( Operations& ioOperations );
void AddTableOperations( Operations& ioOperations );
