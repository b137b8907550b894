#include "Options/MemoryBudget.h"

#include "Core/Strings/XByteCount.h"
#include "Terminal/Session.h"

MemoryBudget::MemoryBudget( std::optional<std::uint64_t> inBytes )
    : itsManager( *XMemoryManager::GetManager() ), itsBefore( itsManager.GetFigures() )
{
    itsManager.SetBudget( inBytes.value_or( itsBefore.budget ) );
    itsManager.ResetPeak();
}

MemoryBudget::~MemoryBudget()
{
    itsManager.SetBudget( itsBefore.budget );
}

void MemoryBudget::LogFigures( Session& ioSession ) const
{
    const auto now = itsManager.GetFigures();
    const auto count = []( std::uint64_t inBlocks, std::uint64_t inBytes )
    { return std::to_string( inBlocks ) + " blocks (" + XFormatByteCount( inBytes ) + ")"; };
    ioSession.LogInfo(
        "memory: peak " + XFormatByteCount( now.peakBytes ) + " of a budget of " +
        XFormatByteCount( now.budget ) + ", " + XFormatByteCount( now.bytesInUse ) + " and " +
        std::to_string( now.purgeableBlocks ) + " purgeable blocks in use at the end" );
    ioSession.LogInfo(
        "memory: purged " + count( now.purges - itsBefore.purges, now.purgedBytes - itsBefore.purgedBytes ) +
        ", reloaded " +
        count( now.reloads - itsBefore.reloads, now.reloadedBytes - itsBefore.reloadedBytes ) );
}
