// Objects of two classes through pointers to their base: WriteObject and ReadObject beside
// Boost.Serialization's polymorphic pointers, both in memory that is warm.

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XMemStream.h"

#include <benchmark/benchmark.h>
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/export.hpp>

#include <memory>
#include <streambuf>

namespace
{
constexpr std::size_t kObjects = 100'000;

/// A fixed block of memory as a stream buffer.
class XBlockBuffer : public std::streambuf
{
public:
    XBlockBuffer( char* inBytes, std::size_t inSize )
    {
        setp( inBytes, inBytes + inSize );
        setg( inBytes, inBytes, inBytes + inSize );
    }
    std::size_t GetWritten() const { return static_cast<std::size_t>( pptr() - pbase() ); }
};
} // namespace

// ---- The same two classes for both

class XBenchPoint : public XStorable
{
public:
    static XVersion GetClassVersion() { return { 64001, 0 }; }
    static XVersion GetSuperClassVersion() { return 0; }
    XVersion GetVersion() const override { return GetClassVersion(); }
    XBenchPoint* Clone() const override { return new XBenchPoint( *this ); }
    USize64 GetStreamUsage() const override { return 16; }
    void WriteStream2( XStream& inStream, XOptions ) const override
    {
        inStream.WriteVersion( XBenchPoint::GetClassVersion() );
        inStream.Write32( itsID );
        inStream.WriteFloat64S( itsValue );
    }
    void ReadStream2( XStream& inStream, XOptions ) override
    {
        ReadCheckedVersion( inStream, XBenchPoint::GetClassVersion() );
        itsID = inStream.Read32();
        itsValue = inStream.ReadFloat64S();
    }

    std::uint32_t itsID = 0;
    double itsValue = 0;
};

class XBenchTimedPoint : public XBenchPoint
{
public:
    static XVersion GetClassVersion() { return { 64002, 0 }; }
    static XVersion GetSuperClassVersion() { return XBenchPoint::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    XBenchTimedPoint* Clone() const override { return new XBenchTimedPoint( *this ); }
    USize64 GetStreamUsage() const override { return 28; }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        XBenchPoint::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.Write64S( itsTime );
    }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        XBenchPoint::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetClassVersion() );
        itsTime = inStream.Read64S();
    }

    std::int64_t itsTime = 0;
};

class XBoostPoint
{
public:
    virtual ~XBoostPoint() = default;
    template<class TArchive>
    void serialize( TArchive& ioArchive, unsigned )
    {
        ioArchive& itsID;
        ioArchive& itsValue;
    }

    std::uint32_t itsID = 0;
    double itsValue = 0;
};

class XBoostTimedPoint : public XBoostPoint
{
public:
    template<class TArchive>
    void serialize( TArchive& ioArchive, unsigned )
    {
        ioArchive& boost::serialization::base_object<XBoostPoint>( *this );
        ioArchive& itsTime;
    }

    std::int64_t itsTime = 0;
};

BOOST_CLASS_EXPORT( XBoostPoint )
BOOST_CLASS_EXPORT( XBoostTimedPoint )
// Without this it would also look every object's address up, which WriteObject does not do.
BOOST_CLASS_TRACKING( XBoostPoint, boost::serialization::track_never )
BOOST_CLASS_TRACKING( XBoostTimedPoint, boost::serialization::track_never )

namespace
{
template<class TBase, class TDerived>
std::vector<std::unique_ptr<TBase>> MakeObjects()
{
    std::vector<std::unique_ptr<TBase>> objects( kObjects );
    for ( std::size_t i = 0; i < kObjects; ++i )
    {
        objects[i] = i % 2 ? std::make_unique<TDerived>() : std::make_unique<TBase>();
        objects[i]->itsID = static_cast<std::uint32_t>( i );
        objects[i]->itsValue = double( i ) / 3;
    }
    return objects;
}

void CountObjects( benchmark::State& ioState )
{
    ioState.SetItemsProcessed( ioState.iterations() * static_cast<std::int64_t>( kObjects ) );
}

void WriteObjects( XStream& ioStream, const std::vector<std::unique_ptr<XBenchPoint>>& inObjects )
{
    ioStream.SeekTo( 0 );
    for ( const auto& object : inObjects )
        ioStream.WriteObject( object.get() );
}

void WriteToStream( benchmark::State& ioState )
{
    const auto objects = MakeObjects<XBenchPoint, XBenchTimedPoint>();
    XMemStream stream;
    WriteObjects( stream, objects );
    for ( auto _ : ioState )
    {
        WriteObjects( stream, objects );
        benchmark::ClobberMemory();
    }
    CountObjects( ioState );
}

void ReadFromStream( benchmark::State& ioState )
{
    XClassRegistry::RegisterClass<XBenchPoint>( "Point" );
    XClassRegistry::RegisterClass<XBenchTimedPoint>( "Timed point" );
    auto objects = MakeObjects<XBenchPoint, XBenchTimedPoint>();
    XMemStream written;
    WriteObjects( written, objects );
    for ( auto _ : ioState )
    {
        XMemStream stream( static_cast<const void*>( written.GetData() ), written.GetLength() );
        for ( auto& object : objects )
            object.reset( static_cast<XBenchPoint*>( stream.ReadObject() ) );
        benchmark::ClobberMemory();
    }
    if ( objects.back()->itsID != kObjects - 1 ||
         objects.back()->GetVersion() != XBenchTimedPoint::GetClassVersion() )
        ioState.SkipWithError( "the objects read differ from those written" );
    CountObjects( ioState );
}

std::size_t
SaveObjects( std::vector<char>& outBytes, const std::vector<std::unique_ptr<XBoostPoint>>& inObjects )
{
    XBlockBuffer buffer( outBytes.data(), outBytes.size() );
    boost::archive::binary_oarchive archive( buffer, boost::archive::no_header );
    for ( const auto& object : inObjects )
    {
        const XBoostPoint* const pointer = object.get();
        archive << pointer;
    }
    return buffer.GetWritten();
}

void WriteToBoost( benchmark::State& ioState )
{
    const auto objects = MakeObjects<XBoostPoint, XBoostTimedPoint>();
    std::vector<char> bytes( kObjects * 64 );
    SaveObjects( bytes, objects );
    for ( auto _ : ioState )
    {
        SaveObjects( bytes, objects );
        benchmark::ClobberMemory();
    }
    CountObjects( ioState );
}

void ReadFromBoost( benchmark::State& ioState )
{
    auto objects = MakeObjects<XBoostPoint, XBoostTimedPoint>();
    std::vector<char> bytes( kObjects * 64 );
    SaveObjects( bytes, objects );
    for ( auto _ : ioState )
    {
        XBlockBuffer buffer( bytes.data(), bytes.size() );
        boost::archive::binary_iarchive archive( buffer, boost::archive::no_header );
        for ( auto& object : objects )
        {
            XBoostPoint* pointer = nullptr;
            archive >> pointer;
            object.reset( pointer );
        }
        benchmark::ClobberMemory();
    }
    if ( objects.back()->itsID != kObjects - 1 || !dynamic_cast<XBoostTimedPoint*>( objects.back().get() ) )
        ioState.SkipWithError( "the objects read differ from those written" );
    CountObjects( ioState );
}

BENCHMARK( WriteToStream )->Name( "objects/write/XMemStream" );
BENCHMARK( WriteToBoost )->Name( "objects/write/Boost.Serialization" );
BENCHMARK( ReadFromStream )->Name( "objects/read/XMemStream" );
BENCHMARK( ReadFromBoost )->Name( "objects/read/Boost.Serialization" );
} // namespace
