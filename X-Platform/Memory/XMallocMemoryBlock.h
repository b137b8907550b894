#pragma once

#include "Memory/XHeapMemory.h"
#include "Memory/XMemoryBlock.h"

/// Bytes in the heap, aligned for every plain type. They stay there: the block cannot be purged. Resizing keeps no
/// spare room.
class KORVALE_API XMallocMemoryBlock : public XMemoryBlock
{
public:
    /// The bytes are undefined. Throws 1012.
    explicit XMallocMemoryBlock( USize64 inSize );
    ~XMallocMemoryBlock() override;

    void* GetData() override;
    USize64 GetSize() const override;
    void Resize( USize64 inSize ) override;
    bool IsEmpty() const override;
    void DestroySelf() override;
    USize64 GetPaddedSize() const override;
    std::uint64_t GetTrueAddress() const override;
    USize64 GetTrueSize() const override;

protected:
    XMallocMemoryBlock( USize64 inSize, USize64 inAlignment );

    bool AllowsQuickLocks() const override;
    XMemoryBlock* MakeSimilar( USize64 inSize ) const override;
    USize64 GetAlignment() const { return itsMemory.GetAlignment(); }

private:
    XHeapMemory itsMemory; // guarded by the mutex
};
