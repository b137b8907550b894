#pragma once

#include "Memory/XMallocMemoryBlock.h"

/// A heap block whose address is a multiple of an alignment, for instance for vector instructions.
class KORVALE_API XAlignedMemoryBlock : public XMallocMemoryBlock
{
public:
    static constexpr USize64 kDefaultAlignment = 64;

    /// `inAlignment` must be a power of two (internal error).
    explicit XAlignedMemoryBlock( USize64 inSize, USize64 inAlignment = kDefaultAlignment );
    ~XAlignedMemoryBlock() override;

    using XMallocMemoryBlock::GetAlignment;

protected:
    XMemoryBlock* MakeSimilar( USize64 inSize ) const override;
};
