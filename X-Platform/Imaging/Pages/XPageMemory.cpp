#include "Imaging/Pages/XPageMemory.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XByteCount.h"
#include "Ground/XErrorNumbers.h"
#include "Imaging/Pages/Internal/XSpareBuffers.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XLock.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>

// A locked handle cannot be purged, so threads that lock one buffer after the other could pin the budget
// among them, each waiting for the rest. Therefore every lock first takes a share of the budget here, and a
// share that does not fit beside those of others is waited for. A thread without competitors never waits: if
// its request is too large even so, the manager refuses it with 1012, and the message says which amount did
// not fit into what.
//
// Lasting shares (backgrounds, sums) count but nobody waits for their return; passing ones are returned when
// the samples are released. The order of destruction in Held matters: unlock, keep the buffer, return the
// share.

namespace
{
/// Where the bytes alone would fit, the rest of the budget is pinned.
std::string DescribeShortage( std::uint64_t inBytes )
{
    const auto budget = XMemoryManager::GetManager()->GetBudget();
    const auto text =
        XFormatByteCount( inBytes ) + " do not fit into the memory budget of " + XFormatByteCount( budget );
    return inBytes > budget ? text : text + "; the rest is pinned";
}

/// The manager's addition to the text of the number: the folder that rejects purges, and the cause.
XString GetCause( const XException& inError )
{
    const XString plain = XException( kErrorOutOfMemory ).GetRawErrorMessage();
    XString cause = inError.GetRawErrorMessage();
    return cause.StripFirst( plain.GetLength() );
}

class Shortage : public XException
{
public:
    Shortage( std::uint64_t inBytes, const XException& inError )
        : XException( kErrorOutOfMemory ),
          itsText( GetCause( inError ) + XString( ": " + DescribeShortage( inBytes ) ) )
    {
    }

    XString GetRawErrorMessage() const override { return XException::GetRawErrorMessage() + itsText; }

private:
    XString itsText;
};
} // namespace

/// A share of the locked memory, counted in the same way as by the manager.
class XPageMemory::XShare
{
public:
    XShare( XPageMemory& ioMemory, std::uint64_t inBytes, bool inIsLasting )
        : itsMemory( ioMemory ),
          itsBytes( XMemoryManager::AlignSizeToPageSize( std::max<std::uint64_t>( inBytes, 1 ) ) ),
          itsTotal( inIsLasting ? ioMemory.itsLasting : ioMemory.itsPassing )
    {
        constexpr bool kIsAlertable = true;
        const XThreadLock lock( itsMemory.itsMutex );
        while ( !itsMemory.HasRoom( itsBytes ) )
            itsMemory.itsShareReturned.Wait( itsMemory.itsMutex, kNoTimeout, kIsAlertable );
        itsTotal += itsBytes;
    }

    ~XShare()
    {
        const XThreadLock lock( itsMemory.itsMutex );
        itsTotal -= itsBytes;
        itsMemory.itsShareReturned.Broadcast();
    }

    XShare( const XShare& ) = delete;
    XShare& operator=( const XShare& ) = delete;

private:
    XPageMemory& itsMemory;
    const std::uint64_t itsBytes;
    std::uint64_t& itsTotal;
};

bool XPageMemory::HasRoom( std::uint64_t inBytes ) const
{
    return itsPassing == 0 || itsPassing + itsLasting + inBytes <= XMemoryManager::GetManager()->GetBudget();
}

/// Bytes that are locked while it lives: a handle's, or a buffer's, which is kept for others then.
class XPageMemory::XHeld
{
public:
    XHeld( XPageMemory& ioMemory, XMemoryHandle& ioHandle, XLockMode inMode )
        : itsMemory( ioMemory ), itsShare( ioMemory, ioHandle.GetDataSize(), false ), itsHandle( ioHandle ),
          itsLock( std::in_place, ioHandle, inMode )
    {
    }

    XHeld( XPageMemory& ioMemory, std::uint64_t inBytes, bool inIsLasting )
        : itsMemory( ioMemory ), itsShare( ioMemory, inBytes, inIsLasting ),
          itsBuffer( ioMemory.itsSpareBuffers->Take( inBytes ) ), itsHandle( *itsBuffer ),
          itsLock( std::in_place, itsHandle, kLockForWrite )
    {
    }

    ~XHeld()
    {
        itsLock.reset();
        if ( itsBuffer )
            itsMemory.itsSpareBuffers->Keep( std::move( itsBuffer ) );
    }

    XHeld( const XHeld& ) = delete;
    XHeld& operator=( const XHeld& ) = delete;

    std::byte* GetBytes() const { return static_cast<std::byte*>( itsHandle.GetData() ); }

private:
    XPageMemory& itsMemory;
    const XShare itsShare; // returned last
    XSpareBuffers::XBuffer itsBuffer;
    XMemoryHandle& itsHandle;
    std::optional<XLock> itsLock;
};

XPageMemory::XPageMemory() : itsSpareBuffers( std::make_unique<XSpareBuffers>() ) {}

XPageMemory::~XPageMemory() = default;

/// What `inMakeHeld` returns as samples that keep it.
template<class TMakeHeld>
WImagePage::Samples XPageMemory::Hold( std::uint64_t inBytes, TMakeHeld inMakeHeld )
{
    try
    {
        std::shared_ptr<XHeld> held = inMakeHeld();
        auto* const bytes = held->GetBytes();
        return WImagePage::Samples(
            bytes, [held = std::move( held )]( std::byte* ) mutable { held.reset(); } );
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorOutOfMemory )
            throw;
        throw Shortage( inBytes, error );
    }
}

WImagePage::Samples XPageMemory::Allocate( std::uint64_t inBytes )
{
    return Hold( inBytes, [&] { return std::make_shared<XHeld>( *this, inBytes, false ); } );
}

WImagePage::Samples XPageMemory::AllocateLasting( std::uint64_t inBytes )
{
    return Hold( inBytes, [&] { return std::make_shared<XHeld>( *this, inBytes, true ); } );
}

WImagePage::Samples XPageMemory::Lock( XMemoryHandle& ioHandle, XLockMode inMode )
{
    return Hold( ioHandle.GetDataSize(), [&] { return std::make_shared<XHeld>( *this, ioHandle, inMode ); } );
}
