#include "Jobs/XJobSelector.h"

#include "Jobs/XJob.h"

#include <algorithm>

XJobSelector::XJobSelector( std::int64_t inTag ) : XJobSelector( inTag == 0 ? kEveryJob : kTag, inTag ) {}

XJobSelector::XJobSelector( std::initializer_list<std::int64_t> inTags )
    : XJobSelector( inTags.begin(), inTags.size() )
{
}

XJobSelector::XJobSelector( const XVector<std::int64_t>& inTags )
    : XJobSelector( inTags.data(), inTags.size() )
{
}

XJobSelector::XJobSelector( const std::int64_t* inTags, USize inCount )
    : itsKind( kTags ), itsTags( inTags ), itsTagCount( inCount )
{
    if ( inCount == 0 || std::count( inTags, inTags + inCount, 0 ) != 0 )
        itsKind = kEveryJob;
}

XJobSelector XJobSelector::ForGroup( std::int64_t inGroup )
{
    return XJobSelector( kGroup, inGroup );
}

bool XJobSelector::Selects( const XJob& inJob ) const
{
    return Selects( inJob.GetTag(), inJob.GetGroup() );
}

bool XJobSelector::Selects( std::int64_t inTag, std::int64_t inGroup ) const
{
    switch ( itsKind )
    {
    case kTag:
        return inTag == itsValue;
    case kTags:
        return std::find( itsTags, itsTags + itsTagCount, inTag ) != itsTags + itsTagCount;
    case kGroup:
        return inGroup == itsValue;
    default:
        return true;
    }
}
