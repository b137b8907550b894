#include "Program/CommandThread.h"

#include "Jobs/XProgressStrategyChanger.h"
#include "Messaging/XAppClosingMessage.h"
#include "Messaging/XAppInitialisedMessage.h"
#include "Messaging/XAppMessageCentre.h"
#include "Process/WMainLoop.h"
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
constexpr std::uint32_t kDrawPeriodMs = 50;

/// One round: waits for messages, but not for longer than the display may, and delivers them.
void ServeQueues()
{
    const auto hasMessages = WMainLoop::WaitForHandle( WMainLoop::GetWaitHandle(), kDrawPeriodMs );
    XSpeaker::ProcessAllNextEventMessages();
    if ( !hasMessages )
        XSpeaker::ProcessAllIdleMessages();
}
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
    auto& centre = XAppMessageCentre::GetAppMessageCentre();
    centre.SpeakMessage( XAppInitialisedMessage( &centre ) );
    StartThread();
    XTimer sinceDrawn( kDrawPeriodMs );
    while ( !itsIsDone )
    {
        ServeQueues();
        if ( sinceDrawn.RestartIfExpired() )
            itsSession.progress.Draw();
    }
    WaitForTerminate();
    if ( itsFailure )
        std::rethrow_exception( itsFailure );
    XSpeaker::ProcessAllNextEventMessages();
    centre.SpeakMessage( XAppClosingMessage( &centre ) );
    return itsStatus;
}

std::int32_t CommandThread::RunThreadSelf()
{
    struct End
    {
        std::atomic<bool>& isDone;
        ~End()
        {
            isDone = true;
            WMainLoop::Wake();
        }
    };
    const End end{ itsIsDone }; // whatever happens, or the main thread would wait for ever
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
