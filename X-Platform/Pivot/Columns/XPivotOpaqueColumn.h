#pragma once

#include "Core/Streams/XByteOrder.h"
#include "Pivot/Columns/XPivotUnknownColumn.h"

/// Stands in a table for a stored column of a class that is not known, and keeps what was stored, so that the
/// table writes it back byte for byte. Otherwise it is an unknown column with the descriptor of the stored
/// one; written by itself, or into a stream of the other byte order, it is no more than that.
///
/// Nobody can tell which bytes belong to which row, so the first change to the number or the order of rows
/// lets go of them.
class KORVALE_API XPivotOpaqueColumn : public XPivotUnknownColumn
{
public:
    XPivotColumn* Clone() const override { return new XPivotOpaqueColumn( *this ); }

    /// Reads `inLength` bytes of a stream, a column in its envelope. Throws 1005 when they do not begin as
    /// one, 1260.
    void ReadContents( XStream& inStream, USize64 inLength );
    /// True while what was stored is kept.
    bool HasContents() const { return !itsContents.empty(); }
    /// The byte order of the stream that it was read from, and may be written to.
    XByteOrder GetByteOrder() const { return itsByteOrder; }
    void WriteContents( XStream& inStream ) const;

    /// True when what was stored does not tell the number of rows: it is that of the table.
    bool TakesAnyRowCount() const { return itsTakesAnyRowCount; }
    /// Sets the number of rows and keeps what was stored.
    void TakeRowCount( std::uint32_t inRowCount ) { XPivotUnknownColumn::ResizeRows( inRowCount ); }

    void InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount ) override;
    void ResizeRows( std::uint32_t inRowCount ) override;
    using XPivotColumn::DeleteItems;
    void DeleteItems( std::uint32_t inFirst, std::uint32_t inCount ) override;
    void RemoveDuplicates( XVector<std::uint32_t>& outRows ) override;
    void DuplicateAllValues( std::uint32_t inCount, bool inInterleaved ) override;
    void Reorder( const XVector<std::uint32_t>& inOrder ) override;

private:
    void ReadKnownFields( XStream& inContents );
    void LetGoUnless( bool inIsUnchanged );

    XVector<std::uint8_t> itsContents; // envelope included; empty once let go of
    XByteOrder itsByteOrder = kPlatformByteOrder;
    bool itsTakesAnyRowCount = false;
};
