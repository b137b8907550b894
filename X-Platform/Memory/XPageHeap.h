#pragma once

#include "Memory/XMemoryReservation.h"
#include "Threads/XMutex.h"

#include <memory>
#include <unordered_map>

/// Memory in whole pages, whose sizes it remembers.
/// Internal to the library.
/// Threads: any.
/// Errors: 1012.
class XPageHeap
{
public:
    explicit XPageHeap( XMemoryManager& inManager ) : itsManager( inManager ) {}
    XPageHeap( const XPageHeap& ) = delete;
    XPageHeap& operator=( const XPageHeap& ) = delete;
    ~XPageHeap();

    void* Allocate( USize64 inSize );
    void* Reallocate( void* inMemory, USize64 inSize );
    void Free( void* inMemory );
    USize64 GetSize( const void* inMemory );

private:
    struct XPiece
    {
        USize64 size;
        std::unique_ptr<XMemoryReservation> reservation;
    };

    XMemoryReservation& GetReservation( const void* inMemory );
    XPiece& GetPiece( const void* inMemory ); // under the mutex

    XMemoryManager& itsManager;
    XMutex itsMutex; // guards itsPieces
    std::unordered_map<const void*, XPiece> itsPieces;
};
