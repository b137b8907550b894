#include "Memory/XAlignedMemoryHandle.h"

XAlignedMemoryHandle::XAlignedMemoryHandle( USize64 inSize, USize64 inAlignment )
    : XMemoryHandle( std::make_unique<XAlignedMemoryBlock>( inSize, inAlignment ) ),
      itsAlignment( inAlignment )
{
}

XMemoryBlock* XAlignedMemoryHandle::MakeBlock( USize64 inSize ) const
{
    return new XAlignedMemoryBlock( inSize, itsAlignment );
}
