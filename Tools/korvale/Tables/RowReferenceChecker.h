#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// Holds the reference records of a stored row-reference column against its rows, as the column's reader does.
class RowReferenceChecker
{
public:
    /// A column of that many rows, which are missing until they are set.
    explicit RowReferenceChecker( std::size_t inRowCount ) : itsRows( inRowCount ) {}

    void SetRow( std::size_t inRow, const XUUID& inIdentity ) { itsRows[inRow] = inIdentity; }

    /// What is wrong with the next record, empty if nothing.
    std::string Add( const XPivotRowRefColumn::XReference& inReference );

    /// Whether a record has that user-visible ID.
    bool IsInUse( std::uint32_t inUserVisibleID ) const
    {
        return itsUserVisibleIDs.contains( inUserVisibleID );
    }

    /// What is wrong with the rows, when all records are added.
    std::string CheckRows();

private:
    struct Hash
    {
        std::size_t operator()( const XUUID& inIdentity ) const { return inIdentity.GetHash(); }
    };

    std::vector<std::optional<XUUID>> itsRows;
    std::unordered_set<std::uint32_t> itsUserVisibleIDs;
    std::unordered_map<XUUID, std::uint32_t, Hash> itsCounts; ///< Of references that no row accounts for yet.
};
