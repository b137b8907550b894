#pragma once

#include "Ground/XTypes.h"

#include <initializer_list>
#include <span>

class XJob;

/// Selects the jobs that an operation applies to: jobs with one tag, with one of several tags, or of a group.
/// Constructed implicitly from a tag or a list of tags, for the duration of a call. Tag 0, alone or in a
/// list, and an empty list select every job.
class KORVALE_API XJobSelector
{
public:
    XJobSelector( std::int64_t inTag );
    XJobSelector( std::initializer_list<std::int64_t> inTags );

    /// The list must outlive the selector.
    XJobSelector( const XVector<std::int64_t>& inTags );

    static XJobSelector EveryJob() { return { kEveryJob, 0 }; }

    /// Selects the jobs of exactly this group; 0 selects those without a group.
    static XJobSelector ForGroup( std::int64_t inGroup );

    /// The tags of the selected jobs, valid as long as the selector. Empty if it selects every job or a group.
    std::span<const std::int64_t> GetTags() const
    {
        if ( itsKind == kTag )
            return { &itsValue, 1 };
        return { itsTags, itsKind == kTags ? itsTagCount : 0 };
    }

    bool Selects( const XJob& inJob ) const;
    bool Selects( std::int64_t inTag, std::int64_t inGroup ) const;

private:
    friend class XWaitingJobs;

    enum XKind : std::uint8_t
    {
        kEveryJob,
        kTag,
        kTags,
        kGroup
    };

    XJobSelector( XKind inKind, std::int64_t inValue ) : itsKind( inKind ), itsValue( inValue ) {}
    XJobSelector( const std::int64_t* inTags, USize inCount );

    XKind itsKind;
    std::int64_t itsValue = 0; // the tag or the group
    const std::int64_t* itsTags = nullptr;
    USize itsTagCount = 0;
};
