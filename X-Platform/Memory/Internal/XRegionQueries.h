#pragma once

#include "Memory/XMemoryManager.h"
#include "Threads/XThreadLock.h"

/// Holds the memory mutex and one snapshot of the address space for a scope. Internal to the library.
class XMemoryManager::XRegionQueries
{
public:
    /// Releases both for a scope; blocks may be added and removed meanwhile.
    class XGap
    {
    public:
        explicit XGap( XRegionQueries& ioQueries ) : itsManager( ioQueries.itsManager )
        {
            itsManager.EndRegionQueries();
            itsManager.itsMemoryMutex.Unlock();
        }
        ~XGap()
        {
            itsManager.itsMemoryMutex.Lock();
            itsManager.BeginRegionQueries();
        }
        XGap( const XGap& ) = delete;
        XGap& operator=( const XGap& ) = delete;

    private:
        XMemoryManager& itsManager;
    };

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
