#pragma once

#include "Jobs/XJob.h"

/// A list of jobs, linked through the jobs themselves, so that no operation allocates or fails. Internal.
template<XJob::XLink XJob::*kLink>
class XJobChain
{
public:
    static XJob* GetNext( const XJob& inJob ) { return ( inJob.*kLink ).next; }

    XJob* GetFirst() const { return itsFirst; }
    bool IsEmpty() const { return !itsFirst; }

    void Append( XJob& ioJob ) noexcept
    {
        ioJob.*kLink = { itsLast, nullptr };
        ( itsLast ? ( itsLast->*kLink ).next : itsFirst ) = &ioJob;
        itsLast = &ioJob;
    }

    void Remove( XJob& ioJob ) noexcept
    {
        const XJob::XLink link = ioJob.*kLink;
        ( link.previous ? ( link.previous->*kLink ).next : itsFirst ) = link.next;
        ( link.next ? ( link.next->*kLink ).previous : itsLast ) = link.previous;
    }

    /// Null if the chain is empty.
    XJob* TakeFirst() noexcept
    {
        XJob* const job = itsFirst;
        if ( job )
            Remove( *job );
        return job;
    }

private:
    XJob* itsFirst = nullptr;
    XJob* itsLast = nullptr;
};
