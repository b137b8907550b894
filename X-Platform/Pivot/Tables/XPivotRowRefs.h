#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Ground/XTypes.h"
#include "Pivot/Columns/XPivotColumn.h"

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
        std::uint32_t rows : 31 = 0;     ///< rows of the column that hold it, at most XPivotColumn::kMaxRows
        std::uint32_t isKept : 1 = 0;    ///< by the table, for rows that refer to it: one reference more
        std::uint32_t others = 0;        ///< references from elsewhere
        std::uint32_t userVisibleID = 0; ///< 0: none yet; set by SetUserVisibleID
        std::uint32_t row = kNoRow;      ///< one of the rows that hold it, kNoRow or kSomeRow

        void AddRows( std::uint32_t inCount ) { rows = ( rows + inCount ) & XPivotColumn::kMaxRows; }
    };

    XPivotRowRefs();

    /// Makes room for that many records in all, so that adding them takes no more memory than they need.
    void Reserve( std::size_t inCount );
    /// What a record takes up in memory that was reserved.
    static constexpr std::size_t GetBytesPerRecord()
    {
        return sizeof( XRecord ) + ( sizeof( XBucket ) + kMostPerBucket - 1 ) / kMostPerBucket;
    }

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
    static constexpr std::size_t kMostPerBucket = 7; // on average
    static constexpr std::uint16_t kEntries = 10;
    static constexpr std::uint16_t kManyPassed = 0xFFFF;
    static constexpr std::size_t kMostIDsPerPlace = 2;

    /// A cache line of entries: a record's place and a part of the hash of its identifier. Where one bucket is full, the
    /// next takes its entries and the full one counts them.
    struct alignas( 64 ) XBucket
    {
        std::uint16_t used = 0;
        /// Entries in later buckets that belong here or before, and were passed on. From kManyPassed on it stays: too
        /// many are looked at then, never too few.
        std::uint16_t passed = 0;
        std::uint16_t tags[kEntries];
        XPlace places[kEntries];
    };

    // No record is kept for the identifier of nothing, so it marks free places.
    static bool IsUsed( const XRecord& inRecord ) { return !inRecord.uuid.IsNil(); }
    XPlace TakePlace();
    /// The first bucket for a hash, which its upper bits tell; its lower ones are its tag.
    std::size_t GetBucket( std::uint32_t inHash ) const
    {
        return static_cast<std::size_t>( std::uint64_t( inHash ) * itsBuckets.size() >> 32 );
    }
    std::size_t GetNext( std::size_t inBucket ) const
    {
        return inBucket + 1 < itsBuckets.size() ? inBucket + 1 : 0;
    }
    void Enter( std::uint32_t inHash, XPlace inPlace );
    void SetBucketCount( std::size_t inCount );
    void EnterUserVisibleID( XPlace inPlace, std::uint32_t inID );
    bool HasUserVisibleID( XPlace inPlace, std::uint32_t inID ) const
    {
        return inPlace < itsRecords.size() && itsRecords[inPlace].userVisibleID == inID;
    }
    /// Where the record of an ID is as long as IDs are given in their order and none goes.
    static XPlace GetFirstPlace( std::uint32_t inID ) { return inID - 1; }

    XVector<XRecord> itsRecords;
    XVector<XBucket> itsBuckets;
    XVector<XPlace> itsFreePlaces;
    // Of low IDs that are not in their first places, by the ID; of one that was given up until another takes it, which
    // the record there tells.
    XVector<XPlace> itsPlacesByID;
    std::map<std::uint32_t, XPlace> itsPlacesOfHighIDs; // too high for that when they were set
    std::uint32_t itsSize = 0;
};
