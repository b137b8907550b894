#include "Measuring/MeasurementStream.h"
#include "Core/Streams/XMemStream.h"
#include "Ground/XErrorNumbers.h"
#include "Imaging/TestPages.h"

namespace
{
constexpr std::uint32_t kPageSide = 400; // more samples than a part has

template<class T>
WImagePage MakeNoisyPage( std::uint32_t inLevels )
{
    std::mt19937 random( 1 );
    return MakePage( kPageSide, MakeNoise<T>( random, kPageSide * kPageSide, inLevels ) );
}

std::vector<std::uint8_t> Pack( const WImagePage& inPage, XByteOrder inOrder )
{
    XMemStream stream;
    stream.SetByteOrder( inOrder );
    MeasurementStream::WritePage( stream, inPage );
    return { stream.GetData(), stream.GetData() + stream.GetLength() };
}

WImagePage Unpack( const std::vector<std::uint8_t>& inBytes, XByteOrder inOrder, bool inIsPacked = true )
{
    XMemStream stream( inBytes.data(), inBytes.size() );
    stream.SetByteOrder( inOrder );
    return MeasurementStream::ReadPage( stream, WImagePage::AllocateFromHeap, inIsPacked );
}

bool HasSameSamples( const WImagePage& inLeft, const WImagePage& inRight )
{
    return inLeft.HasSameLayout( inRight ) &&
        std::memcmp( inLeft.samples.get(), inRight.samples.get(), inLeft.GetByteCount() ) == 0;
}
} // namespace

TEST( MeasurementStreamTest, CompressesPagesWhereThatSavesATenth )
{
    const std::pair<WImagePage, double> pages[] = {
        { MakeNoisyPage<std::uint8_t>( 256 ), 1.01 },
        { MakeNoisyPage<std::uint16_t>( 250 ), 0.6 }, // whose upper bytes are equal
        { MakeNoisyPage<std::uint16_t>( 1 ), 0.02 },
        { MakeNoisyPage<float>( 30 ), 0.7 } };
    for ( const auto& [page, most] : pages )
        for ( const auto order : { kIntelOrder, kMotorolaOrder } )
        {
            const auto bytes = Pack( page, order );
            EXPECT_LT(
                static_cast<double>( bytes.size() ) / static_cast<double>( page.GetByteCount() ), most );
            EXPECT_TRUE( HasSameSamples( Unpack( bytes, order ), page ) );
            for ( std::size_t size = 0; size < bytes.size(); size += 1 + size / 3 )
                EXPECT_NE(
                    ErrorOrZero(
                        [&] {
                            Unpack( { bytes.data(), bytes.data() + size }, order );
                        } ),
                    0u );
        }
}

TEST( MeasurementStreamTest, ReadsUncompressedPagesAndRejectsSizesThatDoNotFit )
{
    const auto page = MakeNoisyPage<std::uint16_t>( 999 );
    constexpr std::size_t kHeader = 3 * 4 + 1 + 2 * 8;
    auto bytes = Pack( page, kIntelOrder );
    std::vector<std::uint8_t> plain( bytes.data(), bytes.data() + kHeader );
    const auto* const samples = reinterpret_cast<const std::uint8_t*>( page.samples.get() );
    plain.insert( plain.end(), samples, samples + page.GetByteCount() );
    EXPECT_TRUE( HasSameSamples( Unpack( plain, kIntelOrder, false ), page ) );

    for ( const int change : { -1, 1, 0x60'00'00'00 } )
    {
        auto other = bytes;
        std::uint32_t size = 0;
        std::memcpy( &size, other.data() + kHeader, sizeof size );
        size += static_cast<std::uint32_t>( change );
        std::memcpy( other.data() + kHeader, &size, sizeof size );
        EXPECT_ERROR( kErrorStreamCorrupted, Unpack( other, kIntelOrder ) );
    }
    bytes[0] = bytes[4] = 0xFF; // a page that is too large for its bytes
    bytes[1] = bytes[5] = 0xFF;
    EXPECT_ERROR( 1260, Unpack( bytes, kIntelOrder ) );
}

TEST( MeasurementStreamTest, RejectsMoreChannelsThanAPageCanHave )
{
    const auto pass = []( std::uint32_t inChannels )
    {
        XPageMeasurement measurement;
        measurement.channels = inChannels;
        XMemStream stream;
        MeasurementStream::WriteMeasurement( stream, measurement );
        stream.SeekTo( 0 );
        MeasurementStream::ReadMeasurement( stream );
    };
    EXPECT_NO_THROW( pass( 65'535 ) );
    EXPECT_ERROR( kErrorStreamCorrupted, pass( 65'536 ) );
}
