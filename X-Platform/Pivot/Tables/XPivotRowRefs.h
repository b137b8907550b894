#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Ground/XTypes.h"

#include <map>

/// What a row-reference column knows of the identifiers it has met: one record for each, found by its identifier or
/// its user-visible ID. Internal.
///
/// Records lie in a block, in the order in which they came, and are known by their places in it, which are theirs as
/// long as they live. Places of records that are gone are used again.
class KORVALE_API XPivotRowRefs
{
public:
    using XPlace = std::uint32_t;
    static constexpr XPlace kNoPlace = 0xFFFFFFFF;
    static constexpr std::uint32_t kNoRow = 0xFFFFFFFF;
    static constexpr std::uint32_t kSomeRow = 0xFFFFFFFE; // which is to be looked for

    struct XRecord
    {
        XUUID uuid;
        std::uint32_t rows = 0;          ///< rows of the column that hold it
        std::uint32_t others = 0;        ///< references from elsewhere
        std::uint32_t userVisibleID = 0; ///< 0: none yet; set by SetUserVisibleID
        std::uint32_t row = kNoRow;      ///< one of the rows that hold it, kNoRow or kSomeRow
        bool isKept = false;             ///< by the table, for rows that refer to it: one reference more
    };

    XPivotRowRefs();

    std::uint32_t GetSize() const { return itsSize; }
    /// All places are below it, free ones too.
    XPlace GetEndPlace() const { return static_cast<XPlace>( itsRecords.size() ); }

    /// kNoPlace where there is none.
    XPlace Find( const XUUID& inUUID ) const;
    /// Makes one without references where there is none.
    XPlace FindOrAdd( const XUUID& inUUID );
    void Remove( XPlace inPlace );

    /// kNoPlace where no record has it.
    XPlace FindUserVisibleID( std::uint32_t inID ) const;
    /// An ID that no other record has, or 0.
    void SetUserVisibleID( XPlace inPlace, std::uint32_t inID );

    XPlace GetPlace( const XRecord& inRecord ) const
    {
        return static_cast<XPlace>( &inRecord - itsRecords.data() );
    }
    bool IsUsed( XPlace inPlace ) const { return IsUsed( itsRecords[inPlace] ); }
    XRecord& operator[]( XPlace inPlace ) { return itsRecords[inPlace]; }
    const XRecord& operator[]( XPlace inPlace ) const { return itsRecords[inPlace]; }

    /// Calls `inUse( record )` for every record, in the order of their places.
    template<class TUse>
    void ForEach( TUse inUse ) const
    {
        for ( const XRecord& record : itsRecords )
        {
            if ( IsUsed( record ) )
                inUse( record );
        }
    }
    template<class TUse>
    void ForEach( TUse inUse )
    {
        for ( XRecord& record : itsRecords )
        {
            if ( IsUsed( record ) )
                inUse( record );
        }
    }

private:
    static constexpr std::size_t kFirstBuckets = 8;
    static constexpr std::size_t kMostPerBucket = 4; // on average
    static constexpr std::uint32_t kEntries = 7;
    static constexpr std::size_t kMostIDsPerPlace = 2;

    /// A cache line of entries: a record's place and the hash of its identifier. Where one bucket is full, the next
    /// takes its entries and the full one counts them.
    struct alignas( 64 ) XBucket
    {
        std::uint32_t used = 0;
        std::uint32_t passed = 0; ///< entries in later buckets that belong here or before, and were passed on
        std::uint32_t hashes[kEntries];
        XPlace places[kEntries];
    };

    // No record is kept for the identifier of nothing, so it marks free places.
    static bool IsUsed( const XRecord& inRecord ) { return !inRecord.uuid.IsNil(); }
    XPlace TakePlace();
    std::size_t GetNext( std::size_t inBucket ) const { return ( inBucket + 1 ) & ( itsBuckets.size() - 1 ); }
    void Enter( std::uint32_t inHash, XPlace inPlace );
    void AddBuckets();

    XVector<XRecord> itsRecords;
    XVector<XBucket> itsBuckets; // their number is a power of two
    XVector<XPlace> itsFreePlaces;
    // Of low IDs, by the ID; of one that was given up until another takes it, which the record there tells.
    XVector<XPlace> itsPlacesByID;
    std::map<std::uint32_t, XPlace> itsPlacesOfHighIDs; // too high for that when they were set
    std::uint32_t itsSize = 0;
};
