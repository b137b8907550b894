#pragma once

#include "Pivot/XPivotColumn.h"

#include <memory>

/// A column as a key of groups: which of its rows hold the same value. Missing rows are one key, NaN is
/// another, both zeros are the same, and texts are told apart byte by byte. Rows of a column whose values are
/// not known here go by the texts that they read as. Internal.
///
/// Ownership: refers to the column, which outlives it unchanged.
class XPivotTableKey
{
public:
    static std::unique_ptr<XPivotTableKey> Make( const XPivotColumn& inColumn );
    virtual ~XPivotTableKey();

    /// Mixes the values of rows, from `inFirst` on, into as many hashes.
    virtual void MixHashes( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes ) = 0;
    /// True when each of these rows holds the same value as the first row of its group.
    virtual bool AreInGroups(
        std::uint32_t inFirst, std::uint32_t inCount, const std::uint32_t* inGroups,
        const XVector<std::uint32_t>& inFirstRows ) const = 0;
    /// -1, 0 or 1: some order in which only rows of the same value are equal.
    virtual int Compare( std::uint32_t inLeft, std::uint32_t inRight ) const = 0;
    /// Sorts rows as the column sorts its values, ascending, stably; missing ones first. Different values
    /// that the column ranks equal do not mix.
    virtual void SortRows( XVector<std::uint32_t>& ioRows ) const = 0;
};
