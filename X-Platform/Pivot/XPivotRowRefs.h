#pragma once

#include "Core/XTypes.h"
#include "Core/XUUID.h"

/// What a row-reference column knows of the identifiers it has met: one record for each, found by its
/// identifier. Internal.
///
/// Records lie in a block, in the order in which they came, and are chained from buckets. They are known by
/// their place in the block, which is theirs as long as they live. Places of records that are gone are used
/// again.
class KORVALE_API XPivotRowRefs
{
public:
    using XPlace = std::uint32_t;
    static constexpr XPlace kNoPlace = 0xFFFFFFFF;
    static constexpr std::uint32_t kNoRow = 0xFFFFFFFF;

    struct XRecord
    {
        XUUID uuid;
        std::uint32_t rows = 0;          ///< rows of the column that hold it
        std::uint32_t others = 0;        ///< references from elsewhere
        std::uint32_t userVisibleID = 0; ///< 0: none yet
        std::uint32_t row = kNoRow;      ///< one of the rows that hold it
        XPlace next = kNoPlace;          // in the same bucket, or the next free place
    };

    XPivotRowRefs();

    std::uint32_t GetSize() const { return itsSize; }

    /// kNoPlace where there is none.
    XPlace Find( const XUUID& inUUID ) const;
    /// Makes one without references where there is none.
    XPlace FindOrAdd( const XUUID& inUUID );
    void Remove( XPlace inPlace );

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

    // No record is kept for the identifier of nothing, so it marks free places.
    static bool IsUsed( const XRecord& inRecord ) { return !inRecord.uuid.IsNil(); }
    XPlace& GetBucket( const XUUID& inUUID );
    void AddBuckets();

    XVector<XRecord> itsRecords;
    XVector<XPlace> itsBuckets; // the first record of each; their number is a power of two
    XPlace itsFirstFree = kNoPlace;
    std::uint32_t itsSize = 0;
};
