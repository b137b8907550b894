#pragma once

#include "Memory/XMallocMemoryBlock.h"

/// Bytes in the heap at a multiple of an alignment, for vector instructions and the like.
class KORVALE_API XAlignedMemoryBlock : public XMallocMemoryBlock
{
public:
    static constexpr USize64 kDefaultAlignment = 64;

    /// `inAlignment` is a power of two, an internal error otherwise.
    explicit XAlignedMemoryBlock( USize64 inSize, USize64 inAlignment = kDefaultAlignment );
    ~XAlignedMemoryBlock() override;

    using XMallocMemoryBlock::GetAlignment;

protected:
    XMemoryBlock* MakeSimilar( USize64 inSize ) const override;
};
