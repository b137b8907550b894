#pragma once

#include "Pivot/Columns/XPivotColumn.h"

#include <memory>

/// A column used as a grouping key: decides which rows hold the same value. All missing rows are one key and
/// all NaN another, 0 equals -0, and texts are compared byte by byte. Columns of unknown value types are
/// compared by their texts. Internal.
///
/// Ownership: refers to the column, which must outlive it and must not change meanwhile.
class XPivotTableKey
{
public:
    static constexpr std::uint32_t kMostRowsPerBlock =
        256; // so that the data of a block fits in the first-level cache

    static std::unique_ptr<XPivotTableKey> Make( const XPivotColumn& inColumn );
    virtual ~XPivotTableKey();

    /// Reads the values of the next block of rows and mixes them into their hashes.
    virtual void LoadBlock( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes ) = 0;
    /// True if each row of the block holds the same value as the first row of its group. First rows that were
    /// added since the last block are in this one.
    virtual bool
    IsBlockInGroups( const std::uint32_t* inGroups, const XVector<std::uint32_t>& inFirstRows ) = 0;

    /// -1, 0 or 1: some total order in which only rows of the same value are equal.
    virtual int Compare( std::uint32_t inLeft, std::uint32_t inRight ) const = 0;
    /// Sorts rows stably in the ascending order of the column, missing ones first. Different values that the
    /// column ranks as equal are kept apart.
    virtual void SortRows( XVector<std::uint32_t>& ioRows ) const = 0;
};
