#include "Pivot/Columns/XPivotOpaqueColumn.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XMemStream.h"
#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"

// The bytes of a stored column whose class is not registered in this process, kept so that writing the table
// again loses nothing. They describe a fixed number of rows in a fixed order; any operation that changes the
// rows makes them wrong, and they are dropped (LetGoUnless). An operation that turns out to change nothing
// keeps them.

void XPivotOpaqueColumn::ReadContents( XStream& inStream, USize64 inLength )
{
    const SSize64 origin = inStream.GetObservedPosition();
    inStream.ReadCounted( itsContents, inLength );
    itsByteOrder = inStream.GetByteOrder();
    XMemStream contents( itsContents.data(), itsContents.size() );
    contents.SetByteOrder( itsByteOrder );
    contents.SetObserver( inStream.GetObserver(), origin );
    try
    {
        ReadKnownFields( contents );
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() == kErrorEndOfFile ) // the column is too short, not the stream
            XRefuse( inStream, kErrorStreamCorrupted, [] { return "the column is longer than it claims"; } );
        throw;
    }
    const auto rowCount = static_cast<std::uint32_t>( GetExistsVector().size() );
    GetExists().clear(); // there are no values to be read here
    itsTakesAnyRowCount = rowCount == 0;
    TakeRowCount( rowCount );
}

/// A column of a class that is not known begins as the others do.
void XPivotOpaqueColumn::ReadKnownFields( XStream& inContents )
{
    XBeginField( inContents, "the version of an object" );
    const SSize64 position = inContents.GetObservedPosition();
    const XVersion version = inContents.ReadVersion();
    if ( auto* const observer = inContents.GetObserver() )
        observer->BeginObject( position, version );
    XPivotColumn::ReadStream2( inContents );
    XBeginField( inContents, "the fields of a class that is not known" );
    inContents.SeekTo( inContents.GetExtent() );
    XEndField( inContents, [] { return "Fields of a class that is not known"; } );
    if ( auto* const observer = inContents.GetObserver() )
        observer->EndObject( inContents.GetObservedPosition() );
}

void XPivotOpaqueColumn::WriteContents( XStream& inStream ) const
{
    inStream.WriteBuffer8( itsContents.data(), itsContents.size() );
}

void XPivotOpaqueColumn::LetGoUnless( bool inIsUnchanged )
{
    if ( !inIsUnchanged )
        itsContents = XVector<std::uint8_t>();
}

void XPivotOpaqueColumn::InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount )
{
    XPivotUnknownColumn::InsertEmptyRows( inRowIndex, inCount );
    LetGoUnless( inCount == 0 );
}

void XPivotOpaqueColumn::ResizeRows( std::uint32_t inRowCount )
{
    const bool isUnchanged = inRowCount == GetColumnSize();
    XPivotUnknownColumn::ResizeRows( inRowCount );
    LetGoUnless( isUnchanged );
}

void XPivotOpaqueColumn::DeleteItems( std::uint32_t inFirst, std::uint32_t inCount )
{
    XPivotUnknownColumn::DeleteItems( inFirst, inCount );
    LetGoUnless( inCount == 0 );
}

void XPivotOpaqueColumn::RemoveDuplicates( XVector<std::uint32_t>& outRows )
{
    LetGoUnless( GetColumnSize() == 0 );
    XPivotUnknownColumn::RemoveDuplicates( outRows );
}

void XPivotOpaqueColumn::DuplicateAllValues( std::uint32_t inCount, bool inInterleaved )
{
    XPivotUnknownColumn::DuplicateAllValues( inCount, inInterleaved );
    LetGoUnless( inCount == 1 );
}

void XPivotOpaqueColumn::Reorder( const XVector<std::uint32_t>& inOrder )
{
    bool isUnchanged = inOrder.size() == GetColumnSize();
    for ( std::uint32_t row = 0; row < inOrder.size() && isUnchanged; ++row )
        isUnchanged = inOrder[row] == row;
    XPivotUnknownColumn::Reorder( inOrder );
    LetGoUnless( isUnchanged );
}
