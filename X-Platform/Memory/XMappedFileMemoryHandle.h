#pragma once

#include "Memory/XMappedFileMemoryBlock.h"
#include "Memory/XMemoryHandle.h"

/// A handle whose bytes can be purged. The constructors are those of XMappedFileMemoryBlock.
class KORVALE_API XMappedFileMemoryHandle : public XMemoryHandle
{
public:
    using XChangeMode = XMappedFileMemoryBlock::XChangeMode;

    XMappedFileMemoryHandle() = default;
    explicit XMappedFileMemoryHandle(
        USize64 inSize, XChangeMode inChangeMode = XMappedFileMemoryBlock::kPrivate,
        USize64 inHeapThreshold = XMappedFileMemoryBlock::kDefaultHeapThreshold );
    XMappedFileMemoryHandle(
        std::shared_ptr<WFile> inFile, std::uint64_t inOffset, USize64 inSize,
        XChangeMode inChangeMode = XMappedFileMemoryBlock::kPrivate );
    XMappedFileMemoryHandle(
        const std::filesystem::path& inPath, std::uint64_t inOffset, USize64 inSize,
        WFile::Mode inFileMode = WFile::kRead, std::uint32_t inFlags = XMappedFileMemoryBlock::kOpenAtOnce,
        XChangeMode inChangeMode = XMappedFileMemoryBlock::kPrivate );

    XMappedFileMemoryHandle* Clone() const override { return new XMappedFileMemoryHandle( *this ); }

protected:
    XMemoryBlock* MakeBlock( USize64 inSize ) const override;
};
