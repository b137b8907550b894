#include "Threads/XLockable.h"

#include "Threads/XDataFetcher.h"

#include <utility>

XLockable::XLockable( const XLockable& inOther )
    : itsDataFetcher( inOther.GetDataFetcher() ), itsIsDirty( inOther.IsDirty() )
{
}

XLockable& XLockable::operator=( const XLockable& inOther )
{
    if ( this != &inOther )
    {
        SetDataFetcher( inOther.GetDataFetcher() );
        SetDirtyFlag( inOther.IsDirty() );
    }
    return *this;
}

XLockable::~XLockable() = default;

void XLockable::SetDataFetcher( XDataFetcher* inFetcher )
{
    const XThreadLock lock( itsMutex );
    itsDataFetcher = inFetcher;
}

XDataFetcher* XLockable::GetDataFetcher() const
{
    const XThreadLock lock( itsMutex );
    return itsDataFetcher;
}

void XLockable::Lock( XLockMode inMode )
{
    const XThreadLock lock( itsMutex );
    if ( itsDataFetcher )
        FetchData();
    LockSelf( inMode );
}

void XLockable::Unlock( XLockMode inMode )
{
    const XThreadLock lock( itsMutex );
    UnlockSelf( inMode );
}

void XLockable::FetchData()
{
    // The fetcher may lock the object in turn, which must not fetch again.
    XDataFetcher* const fetcher = std::exchange( itsDataFetcher, nullptr );
    try
    {
        fetcher->FetchData( *this );
    }
    catch ( ... )
    {
        itsDataFetcher = fetcher;
        throw;
    }
}
