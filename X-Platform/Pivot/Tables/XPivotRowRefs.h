#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Ground/XTypes.h"
#include "Pivot/Columns/XPivotColumn.h"

#include <map>

/// The records of a row-reference column: one for each known identifier, found by identifier or by
/// user-visible ID. A member of the column, installed because its header needs it: applications use the
/// column.
///
/// Records are stored in one block in the order of their creation. A record is referred to by its place,
/// which is fixed for its life; places of removed records are reused.
class KORVALE_API XPivotRowRefs
{
public:
    using XPlace = std::uint32_t;
    static constexpr XPlace kNoPlace = 0xFFFFFFFF;
    static constexpr std::uint32_t kNoRow = 0xFFFFFFFF;
    static constexpr std::uint32_t kSomeRow = 0xFFFFFFFE; // a row that has yet to be searched

    struct XRecord
    {
        XUUID uuid;
        std::uint32_t rows : 31 = 0;     ///< rows of the column that hold it; at most XPivotColumn::kMaxRows
        std::uint32_t isKept : 1 = 0;    ///< the table holds a reference, for rows that refer to it
        std::uint32_t others = 0;        ///< references from elsewhere
        std::uint32_t userVisibleID = 0; ///< 0: none yet; see SetUserVisibleID
        std::uint32_t row = kNoRow;      ///< one of the rows that hold it, kNoRow or kSomeRow

        void AddRows( std::uint32_t inCount ) { rows = ( rows + inCount ) & XPivotColumn::kMaxRows; }
    };

    XPivotRowRefs();

    /// Reserves memory for that many records in total, so that adding them does not over-allocate.
    void Reserve( std::size_t inCount );
    /// The memory that a record takes if it was reserved.
    static constexpr std::size_t GetBytesPerRecord()
    {
        return sizeof( XRecord ) + ( sizeof( XBucket ) + kMostPerBucket - 1 ) / kMostPerBucket;
    }

    std::uint32_t GetSize() const { return itsSize; }
    /// All places, including free ones, are below it.
    XPlace GetEndPlace() const { return static_cast<XPlace>( itsRecords.size() ); }

    /// kNoPlace if there is no record.
    XPlace Find( const XUUID& inUUID ) const;
    /// Creates a record without references if there is none.
    XPlace FindOrAdd( const XUUID& inUUID );
    void Remove( XPlace inPlace );

    /// kNoPlace if no record has the ID.
    XPlace FindUserVisibleID( std::uint32_t inID ) const;
    /// Sets an ID that no other record has, or 0.
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

    /// One cache line of entries: the place of a record and part of the hash of its identifier. Entries that
    /// do not fit are stored in following buckets and counted in `passed`.
    struct alignas( 64 ) XBucket
    {
        std::uint16_t used = 0;
        /// The number of entries in later buckets that belong to this or an earlier bucket. It stays at
        /// kManyPassed once reached: then searches visit too many buckets, never too few.
        std::uint16_t passed = 0;
        std::uint16_t tags[kEntries];
        XPlace places[kEntries];
    };

    // The nil identifier has no record, so it marks free places.
    static bool IsUsed( const XRecord& inRecord ) { return !inRecord.uuid.IsNil(); }
    XPlace TakePlace();
    /// The first bucket for a hash, taken from its upper bits; the lower bits are the tag.
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
    /// The place of an ID as long as IDs are assigned in order and no record is removed.
    static XPlace GetFirstPlace( std::uint32_t inID ) { return inID - 1; }

    XVector<XRecord> itsRecords;
    XVector<XBucket> itsBuckets;
    XVector<XPlace> itsFreePlaces;
    // Indexed by ID: the places of low IDs that are not in their first places. An entry of a released ID
    // stays until the ID is used again; the record at the place shows whether the entry is current.
    XVector<XPlace> itsPlacesByID;
    std::map<std::uint32_t, XPlace> itsPlacesOfHighIDs; // those too high for itsPlacesByID when they were set
    std::uint32_t itsSize = 0;
};
