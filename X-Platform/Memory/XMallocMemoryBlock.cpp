#include "Memory/XMallocMemoryBlock.h"

#include "Memory/XAlignedMemoryBlock.h"

#include <typeinfo>

XMallocMemoryBlock::XMallocMemoryBlock( USize64 inSize )
    : XMallocMemoryBlock( inSize, XHeapMemory::kDefaultAlignment )
{
}

XMallocMemoryBlock::XMallocMemoryBlock( USize64 inSize, USize64 inAlignment )
    : itsMemory( GetManager(), inAlignment )
{
    itsMemory.Allocate( inSize );
    SetFlags( kInMemory );
}

XMallocMemoryBlock::~XMallocMemoryBlock() = default;

void* XMallocMemoryBlock::GetData()
{
    CheckLocked();
    return itsMemory.GetData();
}

USize64 XMallocMemoryBlock::GetSize() const
{
    const XThreadLock lock( GetMutex() );
    return itsMemory.GetSize();
}

void XMallocMemoryBlock::Resize( USize64 inSize )
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    itsMemory.Resize( inSize );
    SetFlags( kInMemory );
}

bool XMallocMemoryBlock::IsEmpty() const
{
    const XThreadLock lock( GetMutex() );
    return !itsMemory.GetData();
}

void XMallocMemoryBlock::DestroySelf()
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    itsMemory.Free();
    SetFlags( 0 );
}

USize64 XMallocMemoryBlock::GetPaddedSize() const
{
    const USize64 unit = GetAlignment();
    return ( GetSize() + unit - 1 ) & ~( unit - 1 );
}

std::uint64_t XMallocMemoryBlock::GetTrueAddress() const
{
    const XThreadLock lock( GetMutex() );
    return reinterpret_cast<std::uint64_t>( itsMemory.GetData() );
}

USize64 XMallocMemoryBlock::GetTrueSize() const
{
    return IsEmpty() ? 0 : GetPaddedSize();
}

bool XMallocMemoryBlock::AllowsQuickLocks() const
{
    return typeid( *this ) == typeid( XMallocMemoryBlock ) ||
        typeid( *this ) == typeid( XAlignedMemoryBlock );
}

XMemoryBlock* XMallocMemoryBlock::MakeSimilar( USize64 inSize ) const
{
    return new XMallocMemoryBlock( inSize );
}
