#include "Memory/XAlignedMemoryBlock.h"

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr USize64 XAlignedMemoryBlock::kDefaultAlignment;

XAlignedMemoryBlock::XAlignedMemoryBlock( USize64 inSize, USize64 inAlignment )
    : XMallocMemoryBlock( inSize, inAlignment )
{
}

XAlignedMemoryBlock::~XAlignedMemoryBlock() = default;

XMemoryBlock* XAlignedMemoryBlock::MakeSimilar( USize64 inSize ) const
{
    return new XAlignedMemoryBlock( inSize, GetAlignment() );
}
