#pragma once

#include "Memory/XHeapMemory.h"
#include "Memory/XMemoryBlock.h"

/// A heap block, aligned for every basic type. It cannot be purged. Resizing allocates no spare capacity.
class KORVALE_API XMallocMemoryBlock : public XMemoryBlock
{
public:
    /// The bytes are uninitialised. Throws 1012.
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
