#include "Jobs/Internal/XWaitingJobs.h"

#include <algorithm>
#include <new>

// Each job is linked into three doubly linked lists, all through members of the job: the list of its state,
// and the chains of its tag and of its group. Therefore taking the first job, and moving or removing a
// selected one, takes constant time and no memory, and cannot fail. Memory is needed only to add a job, for
// chains of a new tag or group; Add makes them before it links anything.
//
// itsSerial is given at each linking and so increases along every list. Jobs selected by several tags, which
// lie in several chains, are brought back into order by it.

void XWaitingJobs::Add( XJob& ioJob, XState inState )
{
    ioJob.itsListedTag = ioJob.GetTag();
    ioJob.itsListedGroup = ioJob.GetGroup();
    // The job's own numbers may change later; the index goes by those that it had when it was added.
    itsTags.Reserve( ioJob.itsListedTag );
    try
    {
        itsGroups.Reserve( ioJob.itsListedGroup );
    }
    catch ( ... )
    {
        itsTags.DropIfEmpty( ioJob.itsListedTag );
        throw;
    }
    Link( ioJob, inState );
}

XJob* XWaitingJobs::TakeFirstQueued() noexcept
{
    XJob* const job = itsLists[kQueued].GetFirst();
    if ( job )
    {
        Unlink( *job, kQueued );
        Forget( *job );
    }
    return job;
}

bool XWaitingJobs::IsTagQueued( std::int64_t inTag ) const
{
    return itsTags.Contains( inTag, kQueued );
}

void XWaitingJobs::MoveSelected( const XJobSelector& inSelector, XState inFrom, XState inTo ) noexcept
{
    const auto move = [&]( XJob& ioJob )
    {
        Unlink( ioJob, inFrom );
        Link( ioJob, inTo );
    };
    VisitSelected( inSelector, inFrom, move );
}

void XWaitingJobs::TakeSelected( const XJobSelector& inSelector, XState inFrom, XJobList& ioTo ) noexcept
{
    const auto take = [&]( XJob& ioJob )
    {
        Unlink( ioJob, inFrom );
        Forget( ioJob );
        ioTo.Append( ioJob );
    };
    VisitSelected( inSelector, inFrom, take );
}

void XWaitingJobs::Link( XJob& ioJob, XState inState ) noexcept
{
    ioJob.itsSerial = ++itsLastSerial;
    itsLists[inState].Append( ioJob );
    itsTags.Add( ioJob, inState );
    itsGroups.Add( ioJob, inState );
}

void XWaitingJobs::Unlink( XJob& ioJob, XState inState ) noexcept
{
    itsLists[inState].Remove( ioJob );
    itsTags.Remove( ioJob, inState );
    itsGroups.Remove( ioJob, inState );
}

/// The room of a job that is linked no more.
void XWaitingJobs::Forget( const XJob& inJob ) noexcept
{
    itsTags.DropIfEmpty( inJob.itsListedTag );
    itsGroups.DropIfEmpty( inJob.itsListedGroup );
}

/// Jobs of any of several tags, each once however often its tag is named, in their order.
XVector<XJob*> XWaitingJobs::ListTagged( const XJobSelector& inSelector, XState inState ) const
{
    XVector<XJob*> jobs;
    std::for_each(
        inSelector.itsTags, inSelector.itsTags + inSelector.itsTagCount,
        [&]( std::int64_t inTag )
        {
            VisitChain<XJobChain<&XJob::itsTagPlace>>(
                itsTags.GetFirst( inTag, inState ), [&]( XJob& ioJob ) { jobs.push_back( &ioJob ); } );
        } );
    // A tag may be named twice: duplicates are neighbours after the sort.
    std::ranges::sort( jobs, {}, &XJob::itsSerial );
    jobs.erase( std::unique( jobs.begin(), jobs.end() ), jobs.end() );
    return jobs;
}

/// Nothing where memory lacks: then all jobs have to be looked at.
std::optional<XVector<XJob*>>
XWaitingJobs::TryToListTagged( const XJobSelector& inSelector, XState inState ) const
{
    try
    {
        return ListTagged( inSelector, inState );
    }
    catch ( const std::bad_alloc& )
    {
        return std::nullopt;
    }
}
