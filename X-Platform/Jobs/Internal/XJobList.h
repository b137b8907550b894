#pragma once

#include "Jobs/Internal/XJobChain.h"

/// The jobs of a queue in one state, for instance those that have run, with their number. Internal.
class XJobList
{
public:
    using XChain = XJobChain<&XJob::itsPlace>;

    static XJob* GetNext( const XJob& inJob ) { return XChain::GetNext( inJob ); }

    XJob* GetFirst() const { return itsJobs.GetFirst(); }
    USize GetCount() const { return itsCount; }
    bool IsEmpty() const { return itsCount == 0; }

    void Append( XJob& ioJob ) noexcept
    {
        itsJobs.Append( ioJob );
        ++itsCount;
    }
    void Remove( XJob& ioJob ) noexcept
    {
        itsJobs.Remove( ioJob );
        --itsCount;
    }

    /// Null if the list is empty.
    XJob* TakeFirst() noexcept
    {
        XJob* const job = itsJobs.TakeFirst();
        itsCount -= job ? 1 : 0;
        return job;
    }

private:
    XChain itsJobs;
    USize itsCount = 0;
};
