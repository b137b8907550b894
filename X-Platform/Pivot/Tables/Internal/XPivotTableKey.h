#pragma once

#include "Pivot/Columns/XPivotColumn.h"

#include <memory>

/// A column as a key of groups: which of its rows hold the same value. Missing rows are one key, NaN is
/// another, both zeros are the same, and texts are told apart byte by byte. Rows of a column whose values are
/// not known here go by the texts that they read as. Internal.
///
/// Ownership: refers to the column, which outlives it unchanged.
class XPivotTableKey
{
public:
    static constexpr std::uint32_t kMostRowsPerBlock =
        256; // what belongs to a block stays in the nearest cache

    static std::unique_ptr<XPivotTableKey> Make( const XPivotColumn& inColumn );
    virtual ~XPivotTableKey();

    /// Looks at the values of the next block of rows and mixes them into as many hashes.
    virtual void LoadBlock( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes ) = 0;
    /// True when each row of the block holds the same value as the first row of its group. First rows that
    /// are new since the last block lie in this one.
    virtual bool
    IsBlockInGroups( const std::uint32_t* inGroups, const XVector<std::uint32_t>& inFirstRows ) = 0;

    /// -1, 0 or 1: some order in which only rows of the same value are equal.
    virtual int Compare( std::uint32_t inLeft, std::uint32_t inRight ) const = 0;
    /// Sorts rows as the column sorts its values, ascending, stably; missing ones first. Different values
    /// that the column ranks equal do not mix.
    virtual void SortRows( XVector<std::uint32_t>& ioRows ) const = 0;
};
