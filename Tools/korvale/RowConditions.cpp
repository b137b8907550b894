#include "RowConditions.h"

#include <CLI/CLI.hpp>

void RowConditions::Declare( CLI::App& ioCommand )
{
    ioCommand
        .add_option( "--where", itsConditions, "Only rows that pass; again for rows that pass this too" )
        ->type_name( "'COLUMN OP VALUE'" )
        ->expected( 1 )
        ->multi_option_policy( CLI::MultiOptionPolicy::TakeAll );
}

void RowConditions::DeclareWithAny( CLI::App& ioCommand )
{
    Declare( ioCommand );
    ioCommand.get_option( "--where" )->required();
    ioCommand.add_flag( "--any", itsIsAny, "Rows that pass one of several conditions, not all" );
}

void RowConditions::Check() const
{
    for ( const auto& condition : itsConditions )
        WhereClause{ condition };
}

void RowConditions::FilterRows( XPivotTable& ioTable ) const
{
    if ( itsConditions.empty() )
        return;
    XVector<XPivotTableFilter> filters;
    for ( const auto& condition : itsConditions )
        filters.push_back( WhereClause( condition ).MakeFilter( ioTable ) );
    const auto filter = itsIsAny ? XPivotTableFilter::AnyOf( filters ) : XPivotTableFilter::AllOf( filters );
    ioTable.FilterRows( filter );
}
