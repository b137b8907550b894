#pragma once

#include "Memory/XMemoryReservation.h"
#include "Threads/XMutex.h"

#include <map>
#include <memory>

/// Allocates memory in whole pages and records the sizes. A piece is removed from the records before its
/// pages are returned to the system, because the system may give the same address to another thread at once.
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

    using XPieces = std::map<const void*, XPiece>;

    XPieces::node_type MakePiece( USize64 inSize );
    XPieces::node_type TakeOut( const void* inMemory );
    void PutBack( XPieces::node_type inPiece );

    XMemoryManager& itsManager;
    XMutex itsMutex; // guards itsPieces
    XPieces itsPieces;
};
