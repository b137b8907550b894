#include "Pivot/Tables/XPivotRowRefs.h"

#include "Ground/Internal/XHashMix.h"

#include <algorithm>
#include <chrono>

// A hash table of buckets that are one cache line each, with linear probing from bucket to bucket. An entry
// is the place of a record and 16 bits of the hash, so a search touches one line and, with rare exceptions,
// only the record it is looking for. `passed` counts the entries that had to go on past a bucket: a search
// ends at the first bucket that none has passed, and removing needs no tombstones, only the counts on its way
// back.
//
// Records stay at their places when the table grows or others are removed; rows refer to them by place.
// User-visible IDs are mostly assigned in the order of the places, so the place of an ID is first guessed
// (GetFirstPlace), then looked up in a vector, and for IDs far beyond the number of records in a map. Guess
// and vector may be outdated, so what they give is checked against the record; only the map is kept exact.

namespace
{
/// Different in every process, so that a file cannot be constructed whose identifiers all fall into one
/// bucket.
std::uint64_t MakeSeed()
{
    static int sObject;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return static_cast<std::uint64_t>( now ) ^ reinterpret_cast<std::uintptr_t>( &sObject ) << 16;
}

const std::uint64_t sSeed = MakeSeed();

std::uint32_t Hash( const XUUID& inUUID )
{
    std::uint64_t halves[2];
    std::memcpy( halves, inUUID.GetBytes(), sizeof halves );
    return static_cast<std::uint32_t>(
        XMixProduct( XMixProduct( halves[0] ^ sSeed, kXHashFactor ) ^ halves[1], sSeed | 1 ) );
}
} // namespace

XPivotRowRefs::XPivotRowRefs() : itsBuckets( kFirstBuckets ) {}

void XPivotRowRefs::Reserve( std::size_t inCount )
{
    itsRecords.reserve( inCount );
    const std::size_t buckets = inCount / kMostPerBucket + 1;
    if ( buckets > itsBuckets.size() )
        SetBucketCount( buckets );
}

XPivotRowRefs::XPlace XPivotRowRefs::Find( const XUUID& inUUID ) const
{
    const std::uint32_t hash = Hash( inUUID );
    const auto tag = static_cast<std::uint16_t>( hash );
    for ( std::size_t at = GetBucket( hash );; at = GetNext( at ) )
    {
        const XBucket& bucket = itsBuckets[at];
        for ( std::uint32_t i = 0; i < bucket.used; ++i )
        {
            if ( bucket.tags[i] == tag && itsRecords[bucket.places[i]].uuid == inUUID )
                return bucket.places[i];
        }
        if ( bucket.passed == 0 )
            return kNoPlace;
    }
}

XPivotRowRefs::XPlace XPivotRowRefs::FindOrAdd( const XUUID& inUUID )
{
    const XPlace found = Find( inUUID );
    if ( found != kNoPlace )
        return found;
    // Before anything is changed: the new buckets may not get memory.
    if ( itsSize >= itsBuckets.size() * kMostPerBucket )
        SetBucketCount( itsBuckets.size() * 2 );
    const XPlace place = TakePlace();
    itsRecords[place].uuid = inUUID;
    Enter( Hash( inUUID ), place );
    ++itsSize;
    return place;
}

XPivotRowRefs::XPlace XPivotRowRefs::TakePlace()
{
    if ( itsFreePlaces.empty() )
    {
        itsRecords.emplace_back();
        return static_cast<XPlace>( itsRecords.size() - 1 );
    }
    const XPlace place = itsFreePlaces.back();
    itsFreePlaces.pop_back();
    return place;
}

void XPivotRowRefs::Enter( std::uint32_t inHash, XPlace inPlace )
{
    std::size_t at = GetBucket( inHash );
    for ( ; itsBuckets[at].used == kEntries; at = GetNext( at ) )
        if ( itsBuckets[at].passed < kManyPassed )
            ++itsBuckets[at].passed;
    XBucket& bucket = itsBuckets[at];
    bucket.tags[bucket.used] = static_cast<std::uint16_t>( inHash );
    bucket.places[bucket.used++] = inPlace;
}

XPivotRowRefs::XPlace XPivotRowRefs::FindUserVisibleID( std::uint32_t inID ) const
{
    for ( const XPlace place :
          { GetFirstPlace( inID ), inID < itsPlacesByID.size() ? itsPlacesByID[inID] : kNoPlace } )
    {
        if ( HasUserVisibleID( place, inID ) )
            return place;
    }
    const auto found = itsPlacesOfHighIDs.find( inID );
    return found == itsPlacesOfHighIDs.end() ? kNoPlace : found->second;
}

/// IDs are given in their order, so most are not much higher than there are places.
void XPivotRowRefs::SetUserVisibleID( XPlace inPlace, std::uint32_t inID )
{
    itsPlacesOfHighIDs.erase( itsRecords[inPlace].userVisibleID );
    if ( inID != 0 && inPlace != GetFirstPlace( inID ) )
        EnterUserVisibleID( inPlace, inID );
    itsRecords[inPlace].userVisibleID = inID;
}

void XPivotRowRefs::EnterUserVisibleID( XPlace inPlace, std::uint32_t inID )
{
    if ( inID >= itsPlacesByID.size() && inID <= kMostIDsPerPlace * itsRecords.size() )
        itsPlacesByID.resize( std::size_t( inID ) + 1, kNoPlace );
    if ( inID < itsPlacesByID.size() )
        itsPlacesByID[inID] = inPlace;
    else
        itsPlacesOfHighIDs[inID] = inPlace;
}

void XPivotRowRefs::Remove( XPlace inPlace )
{
    if ( !itsPlacesOfHighIDs.empty() )
        itsPlacesOfHighIDs.erase( itsRecords[inPlace].userVisibleID );
    itsFreePlaces.push_back( inPlace );
    const std::uint32_t hash = Hash( itsRecords[inPlace].uuid );
    itsRecords[inPlace] = XRecord();
    --itsSize;
    for ( std::size_t at = GetBucket( hash );; at = GetNext( at ) )
    {
        XBucket& bucket = itsBuckets[at];
        const XPlace* end = bucket.places + bucket.used;
        const std::ptrdiff_t i =
            std::find( bucket.places, bucket.places + bucket.used, inPlace ) - bucket.places;
        if ( bucket.places + i == end )
        {
            if ( bucket.passed < kManyPassed )
                --bucket.passed;
            continue;
        }
        --bucket.used;
        bucket.tags[i] = bucket.tags[bucket.used];
        bucket.places[i] = bucket.places[bucket.used];
        return;
    }
}

/// Enters all records again, because the entries do not contain their complete hashes.
void XPivotRowRefs::SetBucketCount( std::size_t inCount )
{
    XVector<XBucket>( inCount ).swap( itsBuckets );
    ForEach( [this]( const XRecord& inRecord ) { Enter( Hash( inRecord.uuid ), GetPlace( inRecord ) ); } );
}
