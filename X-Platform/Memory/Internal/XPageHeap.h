#pragma once

#include "Memory/XMemoryReservation.h"
#include "Threads/XMutex.h"

#include <map>
#include <memory>

/// Memory in whole pages, whose sizes it remembers. As soon as the system has a piece's pages back it may give their
/// address to another thread, so a piece is taken out of the books before they go.
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
