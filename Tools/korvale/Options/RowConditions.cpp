#include "Options/RowConditions.h"

#include "Options/CommandLine.h"

void RowConditions::Declare( const CommandOptions& inOptions )
{
    DeclareWhere( inOptions );
}

void RowConditions::DeclareWithAny( const CommandOptions& inOptions )
{
    DeclareWhere( inOptions ).Required();
    inOptions.AddFlag( "--any", itsIsAny, "Keep rows that match any condition, not all" );
}

CommandOption RowConditions::DeclareWhere( const CommandOptions& inOptions )
{
    return inOptions.Add( "--where", itsConditions, "Keep rows that match (repeatable)" )
        .Takes( "'COLUMN OP VALUE'" )
        .MayRepeat();
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
