#include "Pivot/RegisterPivotClasses.h"

#include "Core/XClassRegistry.h"
#include "Pivot/XPivotFloatColumn.h"
#include "Pivot/XPivotOtherRowRefColumn.h"
#include "Pivot/XPivotRowRefColumn.h"
#include "Pivot/XPivotSInt32Column.h"
#include "Pivot/XPivotStringColumn.h"
#include "Pivot/XPivotTable.h"
#include "Pivot/XPivotTableAccumulator.h"
#include "Pivot/XPivotTimeColumn.h"
#include "Pivot/XPivotUInt32Column.h"
#include "Pivot/XPivotUUIDColumn.h"
#include "Pivot/XPivotUnknownColumn.h"
#include "Pivot/XPivotVersionColumn.h"

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
