#pragma once

#include "Memory/XMemoryManager.h"
#include "Threads/XThreadLock.h"

/// Holds the memory mutex and one reading of the address space for a scope. Internal to the library.
class XMemoryManager::XRegionQueries
{
public:
    explicit XRegionQueries( XMemoryManager& inManager )
        : itsManager( inManager ), itsLock( inManager.itsMemoryMutex )
    {
        itsManager.BeginRegionQueries();
    }
    ~XRegionQueries() { itsManager.EndRegionQueries(); }
    XRegionQueries( const XRegionQueries& ) = delete;
    XRegionQueries& operator=( const XRegionQueries& ) = delete;

private:
    XMemoryManager& itsManager;
    XThreadLock itsLock;
};
