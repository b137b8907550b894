#include "Tables/RowReferenceChecker.h"

std::string RowReferenceChecker::Add( const XPivotRowRefColumn::XReference& inReference )
{
    const auto& [identity, count, userVisibleID, row] = inReference;
    if ( identity.IsNil() )
        return "a reference to no object";
    if ( count == 0 )
        return "nothing refers to it";
    if ( userVisibleID == 0 )
        return "its user-visible ID is 0";
    if ( !itsUserVisibleIDs.insert( userVisibleID ).second )
        return "its user-visible ID, " + std::to_string( userVisibleID ) + ", is that of another reference";
    if ( row != XPivotRowRefColumn::kNoRow && ( row >= itsRows.size() || itsRows[row] != identity ) )
        return "row " + std::to_string( row ) + " does not hold its identifier";
    if ( !itsCounts.emplace( identity, count ).second )
        return "there is a reference to the same object before";
    return "";
}

std::string RowReferenceChecker::CheckRows()
{
    for ( std::size_t row = 0; row < itsRows.size(); ++row )
    {
        if ( !itsRows[row] || itsRows[row]->IsNil() )
            continue;
        const auto found = itsCounts.find( *itsRows[row] );
        if ( found == itsCounts.end() )
            return "there is no reference to the object of row " + std::to_string( row );
        if ( found->second-- == 0 )
            return "more rows hold the object of row " + std::to_string( row ) + " than its reference counts";
    }
    return "";
}
