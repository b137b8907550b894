#include "Pivot/Internal/RegisterPivotClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotSInt32Column.h"
#include "Pivot/Columns/XPivotStringColumn.h"
#include "Pivot/Columns/XPivotTimeColumn.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Columns/XPivotUUIDColumn.h"
#include "Pivot/Columns/XPivotUnknownColumn.h"
#include "Pivot/Columns/XPivotVersionColumn.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/Tables/XPivotTable.h"

void RegisterPivotClasses()
{
    XClassRegistry::RegisterClass<XPivotColumnDescriptor>( "Column Descriptor" );
    XClassRegistry::RegisterAbstractClass<XPivotColumn>( "Column" );
    XClassRegistry::RegisterClass<XPivotStringColumn>( "Text Column" );
    XClassRegistry::RegisterClass<XPivotFloatColumn>( "Number Column" );
    XClassRegistry::RegisterClass<XPivotUInt32Column>( "Unsigned Integer Column" );
    XClassRegistry::RegisterClass<XPivotSInt32Column>( "Integer Column" );
    XClassRegistry::RegisterClass<XPivotTimeColumn>( "Time Column" );
    XClassRegistry::RegisterClass<XPivotUUIDColumn>( "Identifier Column" );
    XClassRegistry::RegisterClass<XPivotVersionColumn>( "Class Column" );
    XClassRegistry::RegisterClass<XPivotRowRefColumn>( "Row Reference Column" );
    XClassRegistry::RegisterClass<XPivotOtherRowRefColumn>( "Other Row Reference Column" );
    XClassRegistry::RegisterClass<XPivotUnknownColumn>( "Unknown Column" );
    XClassRegistry::RegisterClass<XPivotTableAccumulator>( "Accumulator" );
    XClassRegistry::RegisterClass<XPivotTable>( "Table" );
}
