#include "Jobs/XProgressAbortDisabler.h"

#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategy.h"

XProgressAbortDisabler::XProgressAbortDisabler() : itsStrategy( XProgress::SafeGetProgressStrategy() )
{
    if ( itsStrategy )
        itsStrategy->LockAbort();
}

XProgressAbortDisabler::~XProgressAbortDisabler()
{
    if ( itsStrategy )
        itsStrategy->UnlockAbort();
}
