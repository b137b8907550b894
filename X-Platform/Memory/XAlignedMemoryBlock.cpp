#include "Memory/XAlignedMemoryBlock.h"

XAlignedMemoryBlock::XAlignedMemoryBlock( USize64 inSize, USize64 inAlignment )
    : XMallocMemoryBlock( inSize, inAlignment )
{
}

XAlignedMemoryBlock::~XAlignedMemoryBlock() = default;

XMemoryBlock* XAlignedMemoryBlock::MakeSimilar( USize64 inSize ) const
{
    return new XAlignedMemoryBlock( inSize, GetAlignment() );
}
