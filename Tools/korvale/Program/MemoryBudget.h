#pragma once

#include "Memory/XMemoryManager.h"

#include <optional>

class Session;

/// The memory that one run may take up, and what it did with it.
class MemoryBudget
{
public:
    /// Without a number the manager's own budget holds.
    explicit MemoryBudget( std::optional<std::uint64_t> inBytes );
    ~MemoryBudget();
    MemoryBudget( const MemoryBudget& ) = delete;
    MemoryBudget& operator=( const MemoryBudget& ) = delete;

    /// For the log.
    void NoteFigures( Session& ioSession ) const;

private:
    XMemoryManager& itsManager;
    const XMemoryManager::XFigures itsBefore;
};
