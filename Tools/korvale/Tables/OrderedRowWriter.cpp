#include "Tables/OrderedRowWriter.h"

#include "Jobs/XChunks.h"
#include "Jobs/XFunctionJob.h"
#include "Threads/XStopThreadException.h"

#include <atomic>
#include <deque>
#include <exception>

// Text of rows is made by jobs, a chunk of rows each, and written by the calling thread in the order of the
// rows. `pieces` holds the chunks that have been submitted and not written, in order; a deque keeps
// references to its elements valid while elements are added and removed at its ends. `isDone` publishes a
// piece: it is set after the text, on the worker, and read before it. The limit of jobs bounds only
// unfinished chunks; finished ones behind a slow one wait in memory.

namespace
{
struct Piece
{
    std::string text;
    std::exception_ptr failure;
    std::atomic<bool> isDone = false;
};

/// A job that makes the text of one chunk.
XJob* MakeTextJob(
    const MakeRowsText& inMakeText, std::uint64_t inFirst, std::uint64_t inEnd, Piece& outPiece )
{
    const auto make = [&, inFirst, inEnd]
    {
        try
        {
            outPiece.text = inMakeText( inFirst, inEnd );
        }
        catch ( const XStopThreadException& )
        {
            throw;
        }
        catch ( ... )
        {
            outPiece.failure = std::current_exception();
        }
    };
    const auto finish = [&outPiece]( std::uint32_t ) { outPiece.isDone = true; };
    return new XFunctionJob( make, finish, XFunctionJob::kUnannounced );
}
} // namespace

void WriteRowsInOrder(
    std::uint64_t inRowCount, WorkerLimit inLimit, const MakeRowsText& inMakeText,
    const std::function<void( std::string_view )>& inWrite )
{
    std::deque<Piece> pieces;
    XJobQueue queue; // Destroyed, with its jobs, before the pieces.
    queue.Start();
    const auto writeDone = [&]
    {
        for ( ; !pieces.empty() && pieces.front().isDone; pieces.pop_front() )
        {
            if ( pieces.front().failure )
                std::rethrow_exception( pieces.front().failure );
            inWrite( pieces.front().text );
        }
    };
    const auto attach = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        inLimit.WaitForTurn( queue );
        queue.AttachJob( MakeTextJob( inMakeText, inFirst, inEnd, pieces.emplace_back() ) );
        writeDone();
    };
    XForEachChunk( inRowCount, kTableRowsAtOnce, attach );
    queue.WaitForQueueEmpty();
    writeDone();
}
