#pragma once

#include "Core/Streams/XByteOrder.h"
#include "Pivot/Columns/XPivotUnknownColumn.h"

/// Represents a stored column of an unknown class and keeps its stored bytes, so that the table writes it
/// back byte for byte. In all other respects it is an unknown column with the descriptor of the stored one,
/// and is written as such by itself or into a stream of the other byte order.
///
/// Since the bytes cannot be assigned to rows, any change to the number or the order of rows discards them.
class KORVALE_API XPivotOpaqueColumn : public XPivotUnknownColumn
{
public:
    XPivotColumn* Clone() const override { return new XPivotOpaqueColumn( *this ); }

    /// Reads `inLength` bytes: a column in its envelope. Throws 1005 if they do not begin as one,
    /// 1260.
    void ReadContents( XStream& inStream, USize64 inLength );
    /// True as long as the stored bytes are kept.
    bool HasContents() const { return !itsContents.empty(); }
    /// The byte order of the stream it was read from; WriteContents needs a stream of the same order.
    XByteOrder GetByteOrder() const { return itsByteOrder; }
    void WriteContents( XStream& inStream ) const;

    /// True if the stored bytes do not contain the number of rows: then it is that of the table.
    bool TakesAnyRowCount() const { return itsTakesAnyRowCount; }
    /// Sets the number of rows without discarding the stored bytes.
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

    XVector<std::uint8_t> itsContents; // including the envelope; empty once discarded
    XByteOrder itsByteOrder = kPlatformByteOrder;
    bool itsTakesAnyRowCount = false;
};
