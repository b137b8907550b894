#pragma once

#include "Jobs/XThreadProgressStrategy.h"
#include "Terminal/ProgressDisplay.h"

#include <map>

/// Shows the progress of jobs on nodes: a bar for each job, below that of the command.
/// Threads: one at a time.
class NodeBars
{
public:
    explicit NodeBars( ProgressDisplay& ioDisplay ) : itsDisplay( ioDisplay ) {}
    NodeBars( const NodeBars& ) = delete;
    NodeBars& operator=( const NodeBars& ) = delete;
    /// Removes the bars.
    ~NodeBars();

    void Show( const XThreadProgressStrategy::XProgressChangedMessage& inMessage );

private:
    ProgressDisplay& itsDisplay;
    std::map<std::uint32_t, ProgressDisplay::Bar*> itsBars; // by the ID of the job
};
