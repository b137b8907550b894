#include "Jobs/XJob.h"

#include "Jobs/Internal/XCallHook.h"
#include "Jobs/XJobQueue.h"
#include "Threads/XStopThreadException.h"

XJob::~XJob() = default;

void XJob::HandleMessage( const XMessage& ) {}

void XJob::RunJob()
{
    try
    {
        RunJobSelf();
    }
    catch ( const XStopThreadException& exception )
    {
        SetResultCode( exception.GetStopCode() );
        throw;
    }
    catch ( const XException& exception )
    {
        SetResultCode( exception.GetErrorNumber() );
        throw;
    }
    catch ( ... )
    {
        SetResultCode( kFailed );
        throw;
    }
}

void XJob::SpeakCompletedMessage()
{
    if ( itsOwner )
        itsOwner->AnnounceCompletion( itsTag, itsResultCode );
}

bool XJob::CanCompleteInJobThread()
{
    return false;
}

bool XJob::ShouldSendCompletedMessage()
{
    return true;
}

void XJob::Stopped() {}
void XJob::Suspended() {}
void XJob::Resumed() {}
void XJob::JobCompleteSelf( std::uint32_t ) {}

void XJob::JobComplete( std::uint32_t inResultCode )
{
    itsResultCode = inResultCode;
    XCallHook( [&] { JobCompleteSelf( inResultCode ); } );
    if ( ShouldSendCompletedMessage() )
        SpeakCompletedMessage();
}
