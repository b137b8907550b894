#pragma once

#include "Memory/XMemoryManager.h"

#include <optional>

class Session;

/// Sets the memory budget of one run and records its use.
class MemoryBudget
{
public:
    /// Without a number, the manager's budget is unchanged.
    explicit MemoryBudget( std::optional<std::uint64_t> inBytes );
    ~MemoryBudget();
    MemoryBudget( const MemoryBudget& ) = delete;
    MemoryBudget& operator=( const MemoryBudget& ) = delete;

    /// Writes the statistics to the log.
    void LogFigures( Session& ioSession ) const;

private:
    XMemoryManager& itsManager;
    const XMemoryManager::XFigures itsBefore;
};
