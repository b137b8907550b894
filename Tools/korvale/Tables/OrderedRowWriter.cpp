#include "Tables/OrderedRowWriter.h"

#include "Jobs/XChunks.h"
#include "Jobs/XJob.h"
#include "Threads/XStopThreadException.h"

#include <atomic>
#include <deque>
#include <exception>

namespace
{
struct Piece
{
    std::string text;
    std::exception_ptr failure;
    std::atomic<bool> isDone = false;
};

/// Makes the text of one piece.
class TextJob : public XJob
{
public:
    TextJob( const MakeRowsText& inMakeText, std::uint64_t inFirst, std::uint64_t inEnd, Piece& outPiece )
        : itsMakeText( inMakeText ), itsFirst( inFirst ), itsEnd( inEnd ), itsPiece( outPiece )
    {
    }

    bool CanCompleteInJobThread() override { return true; }
    bool ShouldSendCompletedMessage() override { return false; }

protected:
    void RunJobSelf() override
    {
        try
        {
            itsPiece.text = itsMakeText( itsFirst, itsEnd );
        }
        catch ( const XStopThreadException& )
        {
            throw;
        }
        catch ( ... )
        {
            itsPiece.failure = std::current_exception();
        }
    }

    void JobCompleteSelf( std::uint32_t ) override { itsPiece.isDone = true; }

private:
    const MakeRowsText& itsMakeText;
    const std::uint64_t itsFirst;
    const std::uint64_t itsEnd;
    Piece& itsPiece;
};
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
        queue.AttachJob( new TextJob( inMakeText, inFirst, inEnd, pieces.emplace_back() ) );
        writeDone();
    };
    ForEachChunk( inRowCount, kTableRowsAtOnce, attach );
    queue.WaitForQueueEmpty();
    writeDone();
}
