// Streams in memory that is warm: arrays beside memcpy and a hand-vectorised byte swap, records field by
// field beside hand-packed bytes and two serialisation libraries.

#include "Core/Streams/XMemStream.h"
#include "Core/Streams/XStreamVectors.h"
#include "Core/Strings/XString.h"
#include "Records.capnp.h"
#include "Records.pb.h"

#include <benchmark/benchmark.h>

#include <capnp/message.h>
#include <capnp/serialize.h>

#include <immintrin.h>
#include <numeric>

namespace
{
constexpr std::size_t kElements = 1'000'000;
constexpr std::size_t kRecords = 100'000;
constexpr std::size_t kNameLength = 16;
constexpr XByteOrder kOtherByteOrder = kPlatformByteOrder == kIntelOrder ? kMotorolaOrder : kIntelOrder;

// ---- Arrays

template<class T>
XVector<T> MakeArray()
{
    XVector<T> values( kElements );
    std::iota( values.begin(), values.end(), T( 1 ) );
    return values;
}

template<class T>
void CountBytes( benchmark::State& ioState )
{
    ioState.SetBytesProcessed( ioState.iterations() * static_cast<std::int64_t>( kElements * sizeof( T ) ) );
}

/// Swaps and copies in 32-byte vectors, as one would write it by hand for this purpose alone.
template<class T>
__attribute__( ( target( "avx2" ) ) ) void SwapByHand( void* outBytes, const void* inBytes )
{
    alignas( 32 ) std::uint8_t order[32];
    for ( unsigned i = 0; i < 32; ++i )
        order[i] = static_cast<std::uint8_t>(
            ( i % 16 ) / sizeof( T ) * sizeof( T ) + sizeof( T ) - 1 - i % sizeof( T ) );
    const __m256i shuffle = _mm256_load_si256( reinterpret_cast<const __m256i*>( order ) );
    const __m256i* source = static_cast<const __m256i*>( inBytes );
    __m256i* target = static_cast<__m256i*>( outBytes );
    for ( std::size_t i = 0; i < kElements * sizeof( T ) / 32; ++i )
        _mm256_storeu_si256( target + i, _mm256_shuffle_epi8( _mm256_loadu_si256( source + i ), shuffle ) );
}

template<class T>
void Memcpy( benchmark::State& ioState )
{
    const XVector<T> values = MakeArray<T>();
    XVector<T> target( kElements );
    for ( auto _ : ioState )
    {
        std::memcpy( target.data(), values.data(), kElements * sizeof( T ) );
        benchmark::ClobberMemory();
    }
    CountBytes<T>( ioState );
}

template<class T>
void HandSwap( benchmark::State& ioState )
{
    const XVector<T> values = MakeArray<T>();
    XVector<T> target( kElements );
    for ( auto _ : ioState )
    {
        SwapByHand<T>( target.data(), values.data() );
        benchmark::ClobberMemory();
    }
    CountBytes<T>( ioState );
}

template<class T, XByteOrder kOrder>
void WriteArray( benchmark::State& ioState )
{
    const XVector<T> values = MakeArray<T>();
    XMemStream stream;
    stream.SetByteOrder( kOrder );
    XWriteVector( stream, values );
    for ( auto _ : ioState )
    {
        stream.SeekTo( 0 );
        XWriteVector( stream, values );
        benchmark::ClobberMemory();
    }
    CountBytes<T>( ioState );
}

template<class T, XByteOrder kOrder>
void ReadArray( benchmark::State& ioState )
{
    XVector<T> values = MakeArray<T>();
    XMemStream stream;
    stream.SetByteOrder( kOrder );
    XWriteVector( stream, values );
    for ( auto _ : ioState )
    {
        stream.SeekTo( 0 );
        XReadVector( stream, values );
        benchmark::ClobberMemory();
    }
    CountBytes<T>( ioState );
}

BENCHMARK( Memcpy<double> )->Name( "doubles/memcpy" );
BENCHMARK( WriteArray<double, kPlatformByteOrder> )->Name( "doubles/write/native/XMemStream" );
BENCHMARK( ReadArray<double, kPlatformByteOrder> )->Name( "doubles/read/native/XMemStream" );
BENCHMARK( HandSwap<double> )->Name( "doubles/swap by hand" );
BENCHMARK( WriteArray<double, kOtherByteOrder> )->Name( "doubles/write/swapped/XMemStream" );
BENCHMARK( ReadArray<double, kOtherByteOrder> )->Name( "doubles/read/swapped/XMemStream" );
BENCHMARK( Memcpy<std::int32_t> )->Name( "int32/memcpy" );
BENCHMARK( WriteArray<std::int32_t, kPlatformByteOrder> )->Name( "int32/write/native/XMemStream" );
BENCHMARK( ReadArray<std::int32_t, kPlatformByteOrder> )->Name( "int32/read/native/XMemStream" );
BENCHMARK( HandSwap<std::int32_t> )->Name( "int32/swap by hand" );
BENCHMARK( WriteArray<std::int32_t, kOtherByteOrder> )->Name( "int32/write/swapped/XMemStream" );
BENCHMARK( ReadArray<std::int32_t, kOtherByteOrder> )->Name( "int32/read/swapped/XMemStream" );

// ---- Records

template<class TText>
struct XRecord
{
    std::uint32_t id = 0;
    std::int64_t time = 0;
    TText name;
    double value = 0;
};

template<class TText>
std::vector<XRecord<TText>> MakeRecords()
{
    std::vector<XRecord<TText>> records( kRecords );
    for ( std::size_t i = 0; i < kRecords; ++i )
    {
        std::string name = std::to_string( i );
        name.resize( kNameLength, '.' );
        records[i] = {
            static_cast<std::uint32_t>( i ), -static_cast<std::int64_t>( i ), TText( name ),
            double( i ) / 3 };
    }
    return records;
}

void CountRecords( benchmark::State& ioState )
{
    ioState.SetItemsProcessed( ioState.iterations() * static_cast<std::int64_t>( kRecords ) );
}

/// Fails the run when what was read is not what was written.
template<class TText>
void CheckRecords( benchmark::State& ioState, const std::vector<XRecord<TText>>& inRecords )
{
    const std::vector<XRecord<TText>> expected = MakeRecords<TText>();
    for ( std::size_t i = 0; i < kRecords; ++i )
    {
        const bool isSame = inRecords[i].id == expected[i].id && inRecords[i].time == expected[i].time &&
            inRecords[i].name == expected[i].name && inRecords[i].value == expected[i].value;
        if ( !isSame )
            return ioState.SkipWithError( "the records read differ from those written" );
    }
}

template<class T>
std::uint8_t* Pack( std::uint8_t* outBytes, const T& inValue )
{
    std::memcpy( outBytes, &inValue, sizeof inValue );
    return outBytes + sizeof inValue;
}

template<class T>
const std::uint8_t* Unpack( const std::uint8_t* inBytes, T& outValue )
{
    std::memcpy( &outValue, inBytes, sizeof outValue );
    return inBytes + sizeof outValue;
}

std::uint8_t* PackRecords( std::uint8_t* outBytes, const std::vector<XRecord<std::string>>& inRecords )
{
    for ( const auto& record : inRecords )
    {
        outBytes = Pack( outBytes, record.id );
        outBytes = Pack( outBytes, record.time );
        outBytes = Pack( outBytes, static_cast<std::uint32_t>( record.name.size() ) );
        std::memcpy( outBytes, record.name.data(), record.name.size() );
        outBytes = Pack( outBytes + record.name.size(), record.value );
    }
    return outBytes;
}

void WriteRecordsByHand( benchmark::State& ioState )
{
    const auto records = MakeRecords<std::string>();
    std::vector<std::uint8_t> bytes( kRecords * ( 24 + kNameLength ) );
    for ( auto _ : ioState )
    {
        benchmark::DoNotOptimize( PackRecords( bytes.data(), records ) );
        benchmark::ClobberMemory();
    }
    CountRecords( ioState );
}

void ReadRecordsByHand( benchmark::State& ioState )
{
    auto records = MakeRecords<std::string>();
    std::vector<std::uint8_t> bytes( kRecords * ( 24 + kNameLength ) );
    PackRecords( bytes.data(), records );
    for ( auto _ : ioState )
    {
        const std::uint8_t* from = bytes.data();
        for ( auto& record : records )
        {
            std::uint32_t length;
            from = Unpack( from, record.id );
            from = Unpack( from, record.time );
            from = Unpack( from, length );
            record.name.assign( reinterpret_cast<const char*>( from ), length );
            from = Unpack( from + length, record.value );
        }
        benchmark::ClobberMemory();
    }
    CheckRecords( ioState, records );
    CountRecords( ioState );
}

void WriteRecords( XStream& ioStream, const std::vector<XRecord<XString>>& inRecords )
{
    for ( const auto& record : inRecords )
    {
        ioStream.Write32( record.id );
        ioStream.Write64S( record.time );
        ioStream.WriteString( record.name );
        ioStream.WriteFloat64S( record.value );
    }
}

void WriteRecordsToStream( benchmark::State& ioState )
{
    const auto records = MakeRecords<XString>();
    XMemStream stream;
    WriteRecords( stream, records );
    for ( auto _ : ioState )
    {
        stream.SeekTo( 0 );
        WriteRecords( stream, records );
        benchmark::ClobberMemory();
    }
    CountRecords( ioState );
}

void ReadRecordsFromStream( benchmark::State& ioState )
{
    auto records = MakeRecords<XString>();
    XMemStream stream;
    WriteRecords( stream, records );
    for ( auto _ : ioState )
    {
        stream.SeekTo( 0 );
        for ( auto& record : records )
        {
            record.id = stream.Read32();
            record.time = stream.Read64S();
            stream.ReadString( record.name );
            record.value = stream.ReadFloat64S();
        }
        benchmark::ClobberMemory();
    }
    CheckRecords( ioState, records );
    CountRecords( ioState );
}

void FillProto( peers::ProtoRecords& outMessage, const std::vector<XRecord<std::string>>& inRecords )
{
    outMessage.Clear();
    for ( const auto& record : inRecords )
    {
        peers::ProtoRecord& target = *outMessage.add_records();
        target.set_id( record.id );
        target.set_time( record.time );
        target.set_name( record.name );
        target.set_value( record.value );
    }
}

void WriteRecordsToProto( benchmark::State& ioState )
{
    const auto records = MakeRecords<std::string>();
    peers::ProtoRecords message;
    FillProto( message, records );
    std::string bytes( message.ByteSizeLong(), '\0' );
    for ( auto _ : ioState )
    {
        FillProto( message, records );
        message.SerializeToArray( bytes.data(), static_cast<int>( bytes.size() ) );
        benchmark::ClobberMemory();
    }
    CountRecords( ioState );
}

void ReadRecordsFromProto( benchmark::State& ioState )
{
    auto records = MakeRecords<std::string>();
    peers::ProtoRecords message;
    FillProto( message, records );
    const std::string bytes = message.SerializeAsString();
    for ( auto _ : ioState )
    {
        message.ParseFromArray( bytes.data(), static_cast<int>( bytes.size() ) );
        for ( std::size_t i = 0; i < kRecords; ++i )
        {
            const peers::ProtoRecord& source = message.records( static_cast<int>( i ) );
            records[i].id = source.id();
            records[i].time = source.time();
            records[i].name = source.name();
            records[i].value = source.value();
        }
        benchmark::ClobberMemory();
    }
    CheckRecords( ioState, records );
    CountRecords( ioState );
}

void FillCapnp( capnp::MallocMessageBuilder& outMessage, const std::vector<XRecord<std::string>>& inRecords )
{
    auto list = outMessage.initRoot<peers::CapnpRecords>().initRecords( kRecords );
    for ( unsigned i = 0; i < kRecords; ++i )
    {
        const auto& record = inRecords[i];
        auto target = list[i];
        target.setId( record.id );
        target.setTime( record.time );
        target.setName(
            kj::arrayPtr( reinterpret_cast<const kj::byte*>( record.name.data() ), record.name.size() ) );
        target.setValue( record.value );
    }
}

void WriteRecordsToCapnp( benchmark::State& ioState )
{
    const auto records = MakeRecords<std::string>();
    auto segment = kj::heapArray<capnp::word>( kRecords * 8 ); // large enough for one segment, and warm
    for ( auto _ : ioState )
    {
        std::memset( segment.begin(), 0, segment.asBytes().size() ); // the builder asks for zeros
        capnp::MallocMessageBuilder message( segment );
        FillCapnp( message, records );
        benchmark::ClobberMemory();
    }
    CountRecords( ioState );
}

void ReadRecordsFromCapnp( benchmark::State& ioState )
{
    auto records = MakeRecords<std::string>();
    capnp::MallocMessageBuilder message;
    FillCapnp( message, records );
    const auto words = capnp::messageToFlatArray( message );
    capnp::ReaderOptions options;
    options.traversalLimitInWords = ~std::uint64_t( 0 );
    for ( auto _ : ioState )
    {
        capnp::FlatArrayMessageReader reader( words, options );
        const auto list = reader.getRoot<peers::CapnpRecords>().getRecords();
        for ( unsigned i = 0; i < kRecords; ++i )
        {
            const auto source = list[i];
            records[i].id = source.getId();
            records[i].time = source.getTime();
            const auto name = source.getName();
            records[i].name.assign( reinterpret_cast<const char*>( name.begin() ), name.size() );
            records[i].value = source.getValue();
        }
        benchmark::ClobberMemory();
    }
    CheckRecords( ioState, records );
    CountRecords( ioState );
}

BENCHMARK( WriteRecordsByHand )->Name( "records/write/packed by hand" );
BENCHMARK( WriteRecordsToStream )->Name( "records/write/XMemStream" );
BENCHMARK( WriteRecordsToProto )->Name( "records/write/protobuf" );
BENCHMARK( WriteRecordsToCapnp )->Name( "records/write/Cap'n Proto" );
BENCHMARK( ReadRecordsByHand )->Name( "records/read/packed by hand" );
BENCHMARK( ReadRecordsFromStream )->Name( "records/read/XMemStream" );
BENCHMARK( ReadRecordsFromProto )->Name( "records/read/protobuf" );
BENCHMARK( ReadRecordsFromCapnp )->Name( "records/read/Cap'n Proto" );
} // namespace

BENCHMARK_MAIN();
