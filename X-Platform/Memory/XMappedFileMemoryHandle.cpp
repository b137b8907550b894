#include "Memory/XMappedFileMemoryHandle.h"

XMappedFileMemoryHandle::XMappedFileMemoryHandle(
    USize64 inSize, XChangeMode inChangeMode, USize64 inHeapThreshold )
    : XMemoryHandle( std::make_unique<XMappedFileMemoryBlock>( inSize, inChangeMode, inHeapThreshold ) )
{
}

XMappedFileMemoryHandle::XMappedFileMemoryHandle(
    std::shared_ptr<WFile> inFile, std::uint64_t inOffset, USize64 inSize, XChangeMode inChangeMode )
    : XMemoryHandle(
          std::make_unique<XMappedFileMemoryBlock>( std::move( inFile ), inOffset, inSize, inChangeMode ) )
{
}

XMappedFileMemoryHandle::XMappedFileMemoryHandle(
    const std::filesystem::path& inPath, std::uint64_t inOffset, USize64 inSize, WFile::Mode inFileMode,
    std::uint32_t inFlags, XChangeMode inChangeMode )
    : XMemoryHandle( std::make_unique<XMappedFileMemoryBlock>(
          inPath, inOffset, inSize, inFileMode, inFlags, inChangeMode ) )
{
}

XMemoryBlock* XMappedFileMemoryHandle::MakeBlock( USize64 inSize ) const
{
    return new XMappedFileMemoryBlock( inSize );
}
