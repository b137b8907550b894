#include "Program/CommandThread.h"

#include "Jobs/XProgressStrategyChanger.h"
#include "Messaging/XMainLoop.h"
#include "Messaging/XSpeaker.h"
#include "Support/Failure.h"
#include "Support/WrongUsage.h"
#include "Terminal/Session.h"
#include "Terminal/TerminalProgressStrategy.h"

// Two threads: the command's, which works, and the main thread, which delivers messages and draws progress
// every 50 ms. The command ends by setting `itsIsDone` and waking the main loop. Exceptions of a command
// become a message and an exit status on its own thread (RunCommand); an exception from reporting that, such
// as a lack of memory, is carried to the main thread in `itsFailure`, which is read only after the thread has
// ended.

namespace
{
constexpr std::uint32_t kDrawPeriodMS = 50;
} // namespace

CommandThread::CommandThread( Command& ioCommand, Session& ioSession )
    : XThread( "Command", kThreadPriorityNormal ), itsCommand( ioCommand ), itsSession( ioSession )
{
}

CommandThread::~CommandThread()
{
    StopThread();
}

int CommandThread::RunWithMainLoop()
{
    StartThread();
    XMainLoop::Run( [this] { itsSession.progress.Draw(); }, kDrawPeriodMS );
    WaitForTerminate();
    XSpeaker::ProcessAllNextEventMessages(); // those that the command has sent last
    if ( itsFailure )
        std::rethrow_exception( itsFailure );
    return itsStatus;
}

std::int32_t CommandThread::RunThreadSelf()
{
    struct End
    {
        ~End() { XMainLoop::RequestEnd(); }
    };
    const End end; // whatever happens, or the main thread would wait for ever
    try
    {
        TerminalProgressStrategy strategy( itsSession.progress, true );
        const XProgressStrategyChanger changer( &strategy );
        itsStatus = RunCommand();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
        itsFailure = std::current_exception();
    }
    return itsStatus;
}

int CommandThread::RunCommand()
{
    try
    {
        return itsCommand.Run( itsSession );
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const WrongUsage& wrongUsage )
    {
        itsSession.ReportFailure( itsCommand.GetName(), { wrongUsage.what() } );
        return kWrongUsage;
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        if ( failure.IsUserAbort() )
        {
            itsSession.ReportInterrupt();
            return kInterrupted;
        }
        itsSession.ReportFailure( itsCommand.GetName(), failure );
        return kFailure;
    }
}
