#include "Jobs/XProgressStrategy.h"

#include "Jobs/XProgress.h"

XProgressStrategy::~XProgressStrategy() = default;

void* XProgressStrategy::GetProgressPtr( const XProgress& inProgress )
{
    return inProgress.itsProgressPtr;
}

void XProgressStrategy::SetProgressPtr( XProgress& inProgress, void* inPointer )
{
    inProgress.itsProgressPtr = inPointer;
}
