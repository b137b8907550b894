#pragma once

#include "Jobs/Internal/XJobList.h"
#include "Jobs/XJobSelector.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>

/// The queued and the suspended jobs of a queue, each in order, indexed by tag and by group so that searches
/// do not scan the other jobs. Internal to XJobQueue, guarded by its mutex.
///
/// A job is indexed by the tag and the group that it had when it was added.
class XWaitingJobs
{
public:
    enum XState : std::uint8_t
    {
        kQueued,
        kSuspended,
        kStateCount
    };

    /// Appends a job. Without memory for it, nothing changes.
    void Add( XJob& ioJob, XState inState );

    XJob* TakeFirstQueued() noexcept;

    USize GetCount( XState inState ) const { return itsLists[inState].GetCount(); }
    bool IsTagQueued( std::int64_t inTag ) const;

    /// Moves the selected jobs, in order, to the end of the jobs in the other state.
    void MoveSelected( const XJobSelector& inSelector, XState inFrom, XState inTo ) noexcept;

    /// Removes the selected jobs, in order, and appends them to another list.
    void TakeSelected( const XJobSelector& inSelector, XState inFrom, XJobList& ioTo ) noexcept;

    /// Visits the selected jobs in order. `inVisit` may move or remove the job.
    template<class TVisit>
    void VisitSelected( const XJobSelector& inSelector, XState inState, const TVisit& inVisit ) const;

private:
    /// Jobs by one of their numbers; those with number 0, which selects nothing, are only counted.
    template<XJob::XLink XJob::*kLink, std::int64_t XJob::*kNumber>
    class XIndex
    {
    public:
        using XChain = XJobChain<kLink>;

        /// Creates the chains of a number before a job is added. Must be followed by `Add` or `DropIfEmpty`,
        /// so that exactly the numbers of jobs have chains.
        void Reserve( std::int64_t inNumber )
        {
            if ( inNumber != 0 )
                itsChains.try_emplace( inNumber );
        }
        void DropIfEmpty( std::int64_t inNumber ) noexcept
        {
            const auto found = itsChains.find( inNumber );
            if ( found != itsChains.end() && IsEmpty( found->second ) )
                itsChains.erase( found );
        }

        void Add( XJob& ioJob, XState inState ) noexcept
        {
            if ( ioJob.*kNumber == 0 )
                ++itsUnnumberedCounts[inState];
            else
                itsChains.find( ioJob.*kNumber )->second[inState].Append( ioJob );
        }
        void Remove( XJob& ioJob, XState inState ) noexcept
        {
            if ( ioJob.*kNumber == 0 )
                --itsUnnumberedCounts[inState];
            else
                itsChains.find( ioJob.*kNumber )->second[inState].Remove( ioJob );
        }

        bool Contains( std::int64_t inNumber, XState inState ) const
        {
            return inNumber == 0 ? itsUnnumberedCounts[inState] > 0
                                 : GetFirst( inNumber, inState ) != nullptr;
        }
        XJob* GetFirst( std::int64_t inNumber, XState inState ) const
        {
            const auto found = itsChains.find( inNumber );
            return found == itsChains.end() ? nullptr : found->second[inState].GetFirst();
        }

    private:
        using XChains = std::array<XChain, kStateCount>;

        static bool IsEmpty( const XChains& inChains )
        {
            return inChains[kQueued].IsEmpty() && inChains[kSuspended].IsEmpty();
        }

        std::unordered_map<std::int64_t, XChains> itsChains;
        std::array<USize, kStateCount> itsUnnumberedCounts = {};
    };

    void Link( XJob& ioJob, XState inState ) noexcept;
    void Unlink( XJob& ioJob, XState inState ) noexcept;
    void Forget( const XJob& inJob ) noexcept;
    XVector<XJob*> ListTagged( const XJobSelector& inSelector, XState inState ) const;
    std::optional<XVector<XJob*>> TryToListTagged( const XJobSelector& inSelector, XState inState ) const;

    template<class TChain, class TVisit>
    static void VisitChain( XJob* inFirst, const TVisit& inVisit );

    std::array<XJobList, kStateCount> itsLists;
    XIndex<&XJob::itsTagPlace, &XJob::itsListedTag> itsTags;
    XIndex<&XJob::itsGroupPlace, &XJob::itsListedGroup> itsGroups;
    std::uint64_t itsLastSerial = 0;
};

template<class TChain, class TVisit>
void XWaitingJobs::VisitChain( XJob* inFirst, const TVisit& inVisit )
{
    for ( XJob* job = inFirst; job; )
    {
        XJob* const next = TChain::GetNext( *job );
        inVisit( *job );
        job = next;
    }
}

template<class TVisit>
void XWaitingJobs::VisitSelected(
    const XJobSelector& inSelector, XState inState, const TVisit& inVisit ) const
{
    using XKind = XJobSelector;
    if ( inSelector.itsKind == XKind::kTag )
        return VisitChain<XJobChain<&XJob::itsTagPlace>>(
            itsTags.GetFirst( inSelector.itsValue, inState ), inVisit );
    if ( inSelector.itsKind == XKind::kGroup && inSelector.itsValue != 0 )
        return VisitChain<XJobChain<&XJob::itsGroupPlace>>(
            itsGroups.GetFirst( inSelector.itsValue, inState ), inVisit );
    if ( inSelector.itsKind == XKind::kTags )
        if ( const auto jobs = TryToListTagged( inSelector, inState ) )
        {
            for ( XJob* const job : *jobs )
                inVisit( *job );
            return;
        }
    const auto visitIfSelected = [&]( XJob& ioJob )
    {
        if ( inSelector.Selects( ioJob.itsListedTag, ioJob.itsListedGroup ) )
            inVisit( ioJob );
    };
    VisitChain<XJobList>( itsLists[inState].GetFirst(), visitIfSelected );
}
