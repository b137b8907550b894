#pragma once

#include "Memory/XMemoryReservation.h"

/// A piece of heap memory that counts against the manager's budget.
/// A member of the blocks, installed because their headers need it: applications use handles.
/// Threads: those of its owner.
/// Errors: 1012.
class XHeapMemory
{
public:
    static constexpr USize64 kDefaultAlignment = 16;

    explicit XHeapMemory( XMemoryManager& inManager, USize64 inAlignment = kDefaultAlignment );
    XHeapMemory( const XHeapMemory& ) = delete;
    XHeapMemory& operator=( const XHeapMemory& ) = delete;
    ~XHeapMemory() { Free(); }

    /// A size of 0 is allocated as one byte. There must be no memory yet.
    void Allocate( USize64 inSize );
    /// Keeps the bytes that fit in the new size; on failure nothing changes.
    void Resize( USize64 inSize );
    void Free();

    /// Null when there is none.
    void* GetData() const { return itsData; }
    USize64 GetSize() const { return itsSize; }
    USize64 GetAlignment() const { return itsAlignment; }

private:
    void Reallocate( USize64 inSize );
    void Shrink( USize64 inSize );

    XMemoryManager& itsManager;
    XMemoryReservation itsReservation;
    const USize64 itsAlignment;
    void* itsData = nullptr;
    USize64 itsSize = 0;
};
