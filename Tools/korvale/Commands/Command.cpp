#include "Commands/Command.h"

#include "Support/Failure.h"
#include "Terminal/Session.h"

bool Command::Try( Session& ioSession, const std::string& inSubject, const std::function<void()>& inAction )
{
    try
    {
        inAction();
        return true;
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        if ( failure.IsUserAbort() )
            throw;
        ioSession.out.flush(); // What was printed comes before the message.
        ioSession.ReportFailure( inSubject, failure );
        return false;
    }
}
