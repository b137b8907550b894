#include "Pivot/Columns/XPivotColumn.h"

#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"
#include "Pivot/Columns/Internal/XPivotColumnIDRegistry.h"
#include "Pivot/Columns/Internal/XPivotConversions.h"
#include "Pivot/Columns/Internal/XPivotNormalise.h"
#include "Pivot/Rows/Internal/XPivotRowFilter.h"
#include "Pivot/Rows/Internal/XPivotRowOrder.h"
#include "Pivot/Rows/Internal/XPivotRuns.h"
#include "Threads/XThread.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>

// The base class has the flags of the rows that have a value (itsExists), the descriptor and the stored form;
// the values are in derived classes, which know their type. What is implemented here by way of GetDataFloat
// and GetDataString works for every class, row by row; classes with a faster way override it.
//
// The stored form has the exists flags first and then only the values of present rows, in runs (WriteRuns).
// The runs are therefore redundant, and a reader accepts only the ones that the flags require, in their
// order: a file has one form, and what is not written cannot be forged.

namespace
{
constexpr std::uint32_t kRowsPerPiece = 4096;

std::string DescribeRun( const XPivotRun& inRun )
{
    return std::to_string( inRun.length ) + " rows from row " + std::to_string( inRun.start ) + " on";
}
} // namespace

XPivotColumn::XPivotColumn(
    XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName, const XString& inUnits,
    std::uint32_t inRevision )
    : itsDescriptor( inID, inColumnName, inChannelName, inUnits ), itsRevision( inRevision )
{
    if ( inID == kPivotUserDefined )
        return;
    XAssert( itsDescriptor.GetColumnName().IsEmpty() );
    itsDescriptor.SetColumnName( GetIDName( inID ) );
}

XPivotColumn::XPivotColumn( const XPivotColumn& inOther )
    : XStorable( inOther ), itsExists( inOther.itsExists ), itsDescriptor( inOther.itsDescriptor ),
      itsRevision( inOther.itsRevision ), itsVisibilityOptions( inOther.itsVisibilityOptions )
{
}

XPivotColumn& XPivotColumn::operator=( const XPivotColumn& inOther )
{
    itsExists = inOther.itsExists;
    itsDescriptor = inOther.itsDescriptor;
    itsRevision = inOther.itsRevision;
    itsVisibilityOptions = inOther.itsVisibilityOptions;
    ReportDescriptorSet();
    return *this;
}

XPivotColumn::~XPivotColumn() = default;

void XPivotColumn::CopySettings( const XPivotColumn& inOther )
{
    itsDescriptor = inOther.itsDescriptor;
    itsRevision = inOther.itsRevision;
    itsVisibilityOptions = inOther.itsVisibilityOptions;
    const XString* name =
        GetID() == kPivotUserDefined ? nullptr : XPivotColumnIDRegistry::FindName( GetID() );
    if ( name )
        itsDescriptor.SetColumnName( *name );
    ReportDescriptorSet();
}

void XPivotColumn::SetID( XPivotColumnID inID )
{
    itsDescriptor.SetID( inID );
    ReportDescriptorSet();
}

void XPivotColumn::SetColumnName( const XString& inName )
{
    itsDescriptor.SetColumnName( inName );
    ReportDescriptorSet();
}

void XPivotColumn::SetChannelName( const XString& inName )
{
    itsDescriptor.SetChannelName( inName );
    ReportDescriptorSet();
}

void XPivotColumn::SetUnits( const XString& inUnits )
{
    itsDescriptor.SetUnits( inUnits );
    ReportDescriptorSet();
}

void XPivotColumn::ReportDescriptorSet()
{
    if ( itsTable )
        DescriptorSetSelf();
}

void XPivotColumn::DescriptorSetSelf() {}

XString XPivotColumn::GetColumnName() const
{
    return GetID() == kPivotUserDefined ? itsDescriptor.GetColumnName() : GetIDName( GetID() );
}

void XPivotColumn::SetTable( XPivotTable& inTable )
{
    itsTable = &inTable;
    SetTableSelf( inTable );
}

void XPivotColumn::SetTableSelf( XPivotTable& ) {}

bool XPivotColumn::IsEmptyColumn() const
{
    return std::find( itsExists.begin(), itsExists.end(), 1 ) == itsExists.end();
}

// A class takes the kinds of values that it overrides; others are ignored.
void XPivotColumn::SetData( const XVector<XString>& ) {}
void XPivotColumn::SetData( const XVector<double>& ) {}
void XPivotColumn::SetData( const XString&, std::int32_t, bool ) {}
void XPivotColumn::SetData( double, std::int32_t, bool ) {}

void XPivotColumn::SetDataExists( std::int32_t inRow, bool inExists )
{
    if ( inRow >= 0 && static_cast<std::size_t>( inRow ) < itsExists.size() )
        itsExists[static_cast<std::size_t>( inRow )] = inExists ? 1 : 0;
}

void XPivotColumn::AppendData( const XString& inValue, bool inExists )
{
    SetData( inValue, static_cast<std::int32_t>( GetColumnSize() ), inExists );
}

void XPivotColumn::AppendData( double inValue, bool inExists )
{
    SetData( inValue, static_cast<std::int32_t>( GetColumnSize() ), inExists );
}

// ---- Rows

void XPivotColumn::CopyRowsInto(
    std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
    std::uint32_t inCount ) const
{
    if ( inCount == 0 )
        return;
    inDestination.InsertEmptyRows( inDestinationRow, inCount );
    CopyRowsOver( inSourceRow, inDestination, inDestinationRow, inCount );
}

void XPivotColumn::CopyRowsOver(
    std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
    std::uint32_t inCount ) const
{
    if ( inCount == 0 )
        return;
    const USize endRow = USize( inDestinationRow ) + inCount;
    XAssert( endRow <= kMaxRows );
    if ( endRow > inDestination.GetColumnSize() )
        // Rows behind the end of the destination are added by the copy.
        inDestination.ResizeRows( static_cast<std::uint32_t>( endRow ) );
    // Within one column rows that move down are copied from the last on, before they are overwritten.
    const bool isBackward = this == &inDestination && inSourceRow < inDestinationRow;
    for ( std::uint32_t n = 0; n < inCount; ++n )
    {
        const std::uint32_t i = isBackward ? inCount - 1 - n : n;
        const std::uint32_t row = inSourceRow + i;
        const std::int32_t destinationRow = static_cast<std::int32_t>( inDestinationRow + i );
        if ( IsNumeric() )
            inDestination.SetData( GetDataFloat( row ), destinationRow, DoesDataExist( row ) );
        else
            inDestination.SetData( GetDataString( row ), destinationRow, DoesDataExist( row ) );
    }
}

XPivotColumn& XPivotColumn::operator+=( const XPivotColumn& inOther )
{
    inOther.CopyRowsInto( 0, *this, GetColumnSize(), inOther.GetColumnSize() );
    return *this;
}

void XPivotColumn::DeleteItems( const XVector<std::uint32_t>& inRows )
{
    // In one step, however many rows there are: removing them one by one would move the rest each time.
    Reorder( XListOtherRows( GetColumnSize(), inRows ) );
}

// ---- Reading values

std::int32_t XPivotColumn::FindDataString( const XString& inValue ) const
{
    for ( std::uint32_t row = 0; row < GetColumnSize(); ++row )
    {
        if ( GetDataString( row ) == inValue )
            return static_cast<std::int32_t>( row );
    }
    return -1;
}

XVector<double> XPivotColumn::GetFloatVector() const
{
    XVector<double> numbers;
    for ( std::uint32_t row = 0; row < itsExists.size(); ++row )
    {
        if ( itsExists[row] )
            numbers.push_back( GetDataFloat( row ) );
    }
    return numbers;
}

XVector<XString> XPivotColumn::GetStringVector() const
{
    XVector<XString> texts;
    for ( std::uint32_t row = 0; row < GetColumnSize(); ++row )
        texts.push_back( GetDataString( row ) );
    return texts;
}

XVector<double> XPivotColumn::GetFloatSet() const
{
    XVector<double> numbers = GetFloatVector();
    // NaN has no place in an order of numbers: all NaN are put first and count as one value.
    const auto firstNumber = std::partition(
        numbers.begin(), numbers.end(), []( double inValue ) { return std::isnan( inValue ); } );
    std::sort( firstNumber, numbers.end() );
    numbers.erase( std::unique( firstNumber, numbers.end() ), numbers.end() );
    if ( firstNumber - numbers.begin() > 1 )
        numbers.erase( numbers.begin() + 1, firstNumber );
    return numbers;
}

XVector<XString> XPivotColumn::GetStringSet() const
{
    XVector<XString> texts;
    for ( std::uint32_t row = 0; row < itsExists.size(); ++row )
    {
        if ( itsExists[row] )
            texts.push_back( GetDataString( row ) );
    }
    // Two orders: by bytes to find equal texts, then the natural order, which may rank different texts equal.
    std::sort( texts.begin(), texts.end(), std::less<XString>() );
    texts.erase( std::unique( texts.begin(), texts.end() ), texts.end() );
    XSortTextsStably( texts );
    return texts;
}

XPivotColumn::XFloatBlock XPivotColumn::GetFloatBlock(
    std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const
{
    if ( inFirstRow >= itsExists.size() )
        return { nullptr, nullptr, 0 };
    const std::uint32_t left = static_cast<std::uint32_t>( itsExists.size() - inFirstRow );
    const std::uint32_t count = std::min( { left, inMaxCount, kRowsPerPiece } );
    ioScratch.resize( count );
    for ( std::uint32_t i = 0; i < count; ++i )
    {
        // Only present rows are converted: a missing one may hold a text that is not a number.
        if ( itsExists[inFirstRow + i] )
            ioScratch[i] = GetDataFloat( inFirstRow + i );
    }
    return { ioScratch.data(), itsExists.data() + inFirstRow, count };
}

bool XPivotColumn::operator==( const XPivotColumn& inOther ) const
{
    if ( this == &inOther )
        return true;
    const std::uint32_t count = GetColumnSize();
    if ( count != inOther.GetColumnSize() )
        return false;
    for ( std::uint32_t row = 0; row < count; ++row )
    {
        if ( GetNumberToCompare( row ) != inOther.GetNumberToCompare( row ) ||
             GetDataString( row ) != inOther.GetDataString( row ) )
            return false;
    }
    return true;
}

void XPivotColumn::NormaliseTo( double inReference, XPivotTableControlRelationship inRelationship )
{
    for ( std::uint32_t row = 0; row < itsExists.size() && IsNumeric(); ++row )
    {
        if ( !itsExists[row] )
            continue;
        const double value = XNormalisePivotNumber( GetDataFloat( row ), inReference, inRelationship );
        SetData( value, static_cast<std::int32_t>( row ), !std::isnan( value ) );
    }
}

// ---- Filtering

bool XPivotColumn::DoesPassCompare(
    double inValue, XPivotFilterRelationship inRelationship, double inReference )
{
    if ( inRelationship == kFilterContains )
        return XFormatPivotNumber( inValue ).Contains( XFormatPivotNumber( inReference ) );
    return XComparePivotValues( inValue, inRelationship, inReference );
}

bool XPivotColumn::DoesPassCompare(
    const XString& inValue, XPivotFilterRelationship inRelationship, const XString& inReference )
{
    if ( inRelationship == kFilterContains )
        return inValue.Contains( inReference );
    return XComparePivotValues( inValue, inRelationship, inReference );
}

XVector<std::int32_t>
XPivotColumn::Filter( XPivotFilterRelationship inRelationship, double inReference ) const
{
    XThread::TestCancelCurrentThread();
    return XCollectPivotRows(
        itsExists, [&]( std::uint32_t inRow ) { return DoesPass( inRow, inRelationship, inReference ); } );
}

XVector<std::int32_t>
XPivotColumn::Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    XThread::TestCancelCurrentThread();
    return XCollectPivotRows(
        itsExists, [&]( std::uint32_t inRow ) { return DoesPass( inRow, inRelationship, inReference ); } );
}

// ---- Storage

USize64 XPivotColumn::GetStreamUsage() const
{
    const USize64 versionsAndNumbers = 2 * sizeof( std::uint32_t ) + 3 * sizeof( std::uint32_t );
    return versionsAndNumbers + itsDescriptor.GetStreamUsage() + itsExists.size();
}

void XPivotColumn::ReadStream2( XStream& inStream, XOptions inOptions )
{
    ReadCheckedVersion( inStream, XPivotColumn::GetClassVersion() );
    itsDescriptor = ReadDescriptor( inStream, inOptions );
    ReportDescriptorSet();
    itsRevision = XReadField32( inStream, "Revision" );
    itsVisibilityOptions = XReadField32( inStream, "Visibility options" );
    ReadExists( inStream );
}

void XPivotColumn::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    inStream.WriteVersion( XPivotColumn::GetClassVersion() );
    inStream.WriteObject( itsDescriptor, inOptions );
    inStream.Write32( itsRevision );
    inStream.Write32( itsVisibilityOptions );
    inStream.Write32( static_cast<std::uint32_t>( itsExists.size() ) );
    inStream.WriteBuffer8( itsExists.data(), itsExists.size() );
}

XPivotColumnDescriptor XPivotColumn::ReadDescriptor( XStream& inStream, XOptions inOptions )
{
    return *inStream.ReadObjectOf<XPivotColumnDescriptor>( inOptions );
}

void XPivotColumn::ReadExists( XStream& inStream )
{
    const std::uint32_t count = XReadField32( inStream, "Rows" );
    XBeginField( inStream, "the exists flags" );
    if ( !inStream.HasRemaining( count, 1 ) || count > kMaxRows )
        XRefuse(
            inStream, count > kMaxRows ? kErrorStreamCorrupted : kErrorEndOfFile,
            [&]
            {
                const auto claim = std::to_string( count ) + " exists flags are claimed, but ";
                return inStream.HasRemaining( count, 1 )
                    ? claim + "a column has at most " + std::to_string( kMaxRows ) + " rows"
                    : claim + "the file has " + std::to_string( inStream.GetRemaining() ) + " bytes more";
            } );
    inStream.ReadCounted( itsExists, count );
    if ( !XAreExistsFlags( itsExists ) )
        RefuseExists( inStream );
    XEndField(
        inStream,
        [&]
        {
            const auto present = std::ranges::count( itsExists, std::uint8_t{ 1 } );
            return "Exists flags: " + std::to_string( present ) + " of " + std::to_string( count ) +
                " rows have a value";
        } );
}

void XPivotColumn::RefuseExists( XStream& inStream ) const
{
    const auto bad = std::ranges::find_if( itsExists, []( std::uint8_t inFlag ) { return inFlag > 1; } );
    const auto row = bad - itsExists.begin();
    if ( auto* const observer = inStream.GetObserver() )
        // So that the observer shows the flag itself and not the end of all flags.
        observer->BeginPart( inStream.GetObservedPosition() - ( itsExists.end() - bad ) );
    XRefuse(
        inStream, kErrorStreamCorrupted,
        [&]
        {
            return "the exists flag of row " + std::to_string( row ) + " is " + std::to_string( *bad ) +
                ", neither 0 nor 1";
        } );
}

void XPivotColumn::WriteRuns( XStream& inStream ) const
{
    XPivotRunFinder finder( itsExists );
    XPivotRun run;
    while ( finder.Next( run ) )
    {
        inStream.Write32( run.length );
        inStream.Write32( run.start );
        WriteSparseColumnDataSelf( inStream, run.start, run.length );
    }
    inStream.Write32( 0 );
}

void XPivotColumn::ReadRuns( XStream& inStream, XOptions inOptions )
{
    XPivotRunFinder finder( itsExists );
    XPivotRun run;
    XBeginField( inStream, "the length of a run" );
    while ( const std::uint32_t length = inStream.Read32() )
    {
        const XPivotRun found = { inStream.Read32(), length };
        if ( !finder.Next( run ) || found != run )
            RefuseRun( inStream, found, inOptions );
        XEndField( inStream, [&] { return "Run: " + DescribeRun( found ); } );
        XBeginField( inStream, "the values of a run" );
        ReadSparseColumnDataSelf( inStream, found.start, found.length );
        XEndField( inStream, [&] { return std::to_string( length ) + " values"; } );
        XBeginField( inStream, "the length of a run" );
    }
    if ( finder.Next( run ) )
        XRefuse(
            inStream, kErrorStreamCorrupted,
            [&] { return "the runs end, but row " + std::to_string( run.start ) + " has no value yet"; } );
    XEndField( inStream, [] { return "End of the runs"; } );
}

void XPivotColumn::RefuseRun( XStream& inStream, const XPivotRun& inRun, XOptions inOptions )
{
    // A run outside the column is the class's own to report.
    const bool isOuter = USize( inRun.start ) + inRun.length > itsExists.size();
    if ( isOuter && !( inOptions & kUntrustedSource ) )
        ReadSparseColumnDataSelf( inStream, inRun.start, inRun.length );
    XRefuse(
        inStream, kErrorStreamCorrupted,
        [&]
        {
            return "a run of " + DescribeRun( inRun ) +
                ( isOuter ? " reaches beyond the " + std::to_string( itsExists.size() ) + " rows"
                          : " contradicts the exists flags" );
        } );
}

// ---- Names of IDs

void XPivotColumn::RegisterID( XPivotColumnID inID, const XString& inName )
{
    XPivotColumnIDRegistry::Register( inID, inName );
}

void XPivotColumn::RegisterStandardIDs()
{
    XPivotColumnIDRegistry::RegisterStandard();
}

XString XPivotColumn::GetIDName( XPivotColumnID inID )
{
    return XPivotColumnIDRegistry::GetName( inID );
}
