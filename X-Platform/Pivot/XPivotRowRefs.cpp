#include "Pivot/XPivotRowRefs.h"

#include <chrono>

namespace
{
/// Different in every process, so that nobody can make a file whose identifiers all fall into one bucket.
std::uint64_t MakeSeed()
{
    static int sObject;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return static_cast<std::uint64_t>( now ) ^ reinterpret_cast<std::uintptr_t>( &sObject ) << 16;
}

const std::uint64_t sSeed = MakeSeed();

/// Both halves of the product, so that every bit of either factor counts in the low bits too.
std::uint64_t Multiply( std::uint64_t inLeft, std::uint64_t inRight )
{
    __extension__ using XProduct = unsigned __int128;
    const XProduct product = static_cast<XProduct>( inLeft ) * inRight;
    return static_cast<std::uint64_t>( product ) ^ static_cast<std::uint64_t>( product >> 64 );
}

std::size_t Hash( const XUUID& inUUID )
{
    std::uint64_t halves[2];
    std::memcpy( halves, inUUID.GetBytes(), sizeof halves );
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
    return Multiply( Multiply( halves[0] ^ sSeed, kOdd ) ^ halves[1], sSeed | 1 );
}
} // namespace

XPivotRowRefs::XPivotRowRefs() : itsBuckets( kFirstBuckets, kNoPlace ) {}

XPivotRowRefs::XPlace& XPivotRowRefs::GetBucket( const XUUID& inUUID )
{
    return itsBuckets[Hash( inUUID ) & ( itsBuckets.size() - 1 )];
}

XPivotRowRefs::XPlace XPivotRowRefs::Find( const XUUID& inUUID ) const
{
    XPlace place = const_cast<XPivotRowRefs*>( this )->GetBucket( inUUID );
    while ( place != kNoPlace && itsRecords[place].uuid != inUUID )
        place = itsRecords[place].next;
    return place;
}

XPivotRowRefs::XPlace XPivotRowRefs::FindOrAdd( const XUUID& inUUID )
{
    XPlace place = Find( inUUID );
    if ( place != kNoPlace )
        return place;
    if ( itsSize >= itsBuckets.size() * kMostPerBucket )
        AddBuckets();
    place = itsFirstFree;
    if ( place == kNoPlace )
    {
        place = static_cast<XPlace>( itsRecords.size() );
        itsRecords.emplace_back();
    }
    else
        itsFirstFree = itsRecords[place].next;
    XPlace& bucket = GetBucket( inUUID );
    itsRecords[place] = { .uuid = inUUID, .next = bucket };
    bucket = place;
    ++itsSize;
    return place;
}

void XPivotRowRefs::Remove( XPlace inPlace )
{
    XPlace* link = &GetBucket( itsRecords[inPlace].uuid );
    while ( *link != inPlace )
        link = &itsRecords[*link].next;
    *link = itsRecords[inPlace].next;
    itsRecords[inPlace] = { .uuid = {}, .next = itsFirstFree };
    itsFirstFree = inPlace;
    --itsSize;
}

void XPivotRowRefs::AddBuckets()
{
    itsBuckets.assign( itsBuckets.size() * 2, kNoPlace );
    for ( XPlace place = 0; place < itsRecords.size(); ++place )
    {
        XRecord& record = itsRecords[place];
        if ( !IsUsed( record ) )
            continue;
        XPlace& bucket = GetBucket( record.uuid );
        record.next = bucket;
        bucket = place;
    }
}
