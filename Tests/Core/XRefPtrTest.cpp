#include "Core/Storables/XRefPtr.h"

#include "Testing.h"

namespace
{

struct XThing : XRefCountable
{
    explicit XThing( int* ioAlive = nullptr ) : itsAlive( ioAlive )
    {
        if ( itsAlive )
            ++*itsAlive;
    }
    ~XThing() override
    {
        if ( itsAlive )
            --*itsAlive;
    }

private:
    int* itsAlive;
};

struct XOther
{
    virtual ~XOther() = default;
    int itsPadding = 0;
};

/// The counted base does not come first, so pointers change on the way to it.
class XDerivedThing : public XOther, public XThing
{
public:
    using XThing::XThing;
};

/// Takes and gives back references to itself while it is being deleted.
struct XPhoenix : XRefCountable
{
    XPhoenix( std::uint32_t& outShareError, std::uint32_t& outReleaseError )
        : itsShareError( outShareError ), itsReleaseError( outReleaseError )
    {
    }
    ~XPhoenix() override
    {
        itsShareError = ErrorOf( [this] { XRefPtr<XPhoenix>::Share( this ); } );
        itsReleaseError = ErrorOf( [this] { ReleaseReference(); } );
    }

private:
    std::uint32_t& itsShareError;
    std::uint32_t& itsReleaseError;
};

} // namespace

class XDeclaredOnly;

TEST( XRefPtrTest, DeletesWithTheLastReference )
{
    int alive = 0;
    XRefPtr<XThing> first = XMakeRef<XThing>( &alive );
    EXPECT_EQ( first->GetReferenceCount(), 1u );
    {
        const XRefPtr<XThing> second = first;
        const XRefPtr<XThing> third = XRefPtr<XThing>::Share( second.Get() );
        EXPECT_EQ( first->GetReferenceCount(), 3u );
        EXPECT_TRUE( third == first );
    }
    EXPECT_EQ( first->GetReferenceCount(), 1u );
    const XRefPtr<XThing> moved = std::move( first );
    EXPECT_TRUE( first == nullptr );
    EXPECT_EQ( alive, 1 );
    XRefPtr<XThing> last = moved;
    XThing* thing = last.Detach();
    EXPECT_FALSE( last );
    EXPECT_EQ( thing->GetReferenceCount(), 2u );
    thing->ReleaseReference();
    EXPECT_EQ( alive, 1 );
}

TEST( XRefPtrTest, LetsGoOfWhatItHeldOnAssignment )
{
    int alive = 0;
    XRefPtr<XThing> pointer = XMakeRef<XThing>( &alive );
    XRefPtr<XThing>& alias = pointer;
    pointer = alias;
    EXPECT_EQ( alive, 1 );
    pointer = XMakeRef<XThing>( &alive );
    EXPECT_EQ( alive, 1 );
    pointer.Reset();
    EXPECT_EQ( alive, 0 );
}

TEST( XRefPtrTest, ConvertsAlongTheClasses )
{
    int alive = 0;
    const XRefPtr<XDerivedThing> derived = XMakeRef<XDerivedThing>( &alive );
    XRefPtr<XThing> base = derived;
    const XRefPtr<const XThing> constBase = base;
    EXPECT_EQ( base.Get(), derived.Get() );
    EXPECT_TRUE( constBase == derived );
    EXPECT_EQ( XDynamicRefCast<XDerivedThing>( base ).Get(), derived.Get() );
    EXPECT_TRUE( XDynamicRefCast<XDerivedThing>( XMakeRef<XThing>() ) == nullptr );
    EXPECT_EQ( derived->GetReferenceCount(), 3u );
    const XRefPtr<XDeclaredOnly> none;
    EXPECT_FALSE( none );
}

TEST( XRefPtrTest, RefusesReferencesToWhatIsGone )
{
    std::uint32_t shareError = 0, releaseError = 0;
    XMakeRef<XPhoenix>( shareError, releaseError ).Reset();
    EXPECT_EQ( shareError, 1027u );
    EXPECT_EQ( releaseError, 1027u );
}

TEST( XRefPtrTest, GivesCopiesOfAnObjectTheirOwnCount )
{
    const XRefPtr<XThing> original = XMakeRef<XThing>();
    const XRefPtr<XThing> shared = original;
    const XRefPtr<XThing> copy = XMakeRef<XThing>( *original );
    EXPECT_EQ( copy->GetReferenceCount(), 1u );
    *copy = *original;
    EXPECT_EQ( copy->GetReferenceCount(), 1u );
    EXPECT_EQ( original->GetReferenceCount(), 2u );
}

TEST( XRefPtrTest, CountsAcrossThreads )
{
    int alive = 0;
    XRefPtr<XThing> shared = XMakeRef<XThing>( &alive );
    std::vector<XRefPtr<XThing>> owned( 4, shared );
    shared.Reset();
    RunOnThreads(
        4,
        [&]( unsigned inThread )
        {
            for ( int i = 0; i < 20000; ++i )
                const XRefPtr<XThing> copy = owned[inThread];
            owned[inThread].Reset();
        } );
    EXPECT_EQ( alive, 0 );
}
