#include "Jobs/XProgressDisabler.h"

#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategy.h"

XProgressDisabler::XProgressDisabler() : itsStrategy( XProgress::SafeGetProgressStrategy() )
{
    if ( itsStrategy )
        itsStrategy->LockProgressBars();
}

XProgressDisabler::~XProgressDisabler()
{
    if ( itsStrategy )
        itsStrategy->UnlockProgressBars();
}
