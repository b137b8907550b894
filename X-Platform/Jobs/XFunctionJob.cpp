#include "Jobs/XFunctionJob.h"

#include <utility>

XFunctionJob::XFunctionJob( XBody inBody, XCompleted inCompleted, XCompletion inCompletion )
    : itsBody( std::move( inBody ) ), itsCompleted( std::move( inCompleted ) ), itsCompletion( inCompletion )
{
}

XFunctionJob::~XFunctionJob() = default;

void XFunctionJob::RunJobSelf()
{
    itsBody();
}

void XFunctionJob::JobCompleteSelf( std::uint32_t inResultCode )
{
    if ( itsCompleted )
        itsCompleted( inResultCode );
}
