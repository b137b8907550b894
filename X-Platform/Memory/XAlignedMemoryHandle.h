#pragma once

#include "Memory/XAlignedMemoryBlock.h"
#include "Memory/XMemoryHandle.h"

/// A handle whose data starts at a multiple of an alignment. A copy in a plain handle shares the block and
/// therefore keeps the alignment.
class KORVALE_API XAlignedMemoryHandle : public XMemoryHandle
{
public:
    XAlignedMemoryHandle() = default;
    explicit XAlignedMemoryHandle(
        USize64 inSize, USize64 inAlignment = XAlignedMemoryBlock::kDefaultAlignment );

    XAlignedMemoryHandle* Clone() const override { return new XAlignedMemoryHandle( *this ); }
    USize64 GetAlignment() const { return itsAlignment; }

protected:
    XMemoryBlock* MakeBlock( USize64 inSize ) const override;

private:
    USize64 itsAlignment = XAlignedMemoryBlock::kDefaultAlignment;
};
