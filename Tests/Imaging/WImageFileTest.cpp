#include "Images/WImageFile.h"

#include "Imaging/HandmadeTIFF.h"
#include "Imaging/TestImages.h"
#include "Imaging/TestPages.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "TestFolder.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace
{
class WImageFileTest : public testing::Test
{
protected:
    TestFolder itsFolder;

    std::filesystem::path WriteTIFF(
        const std::vector<const WImagePage*>& inPages, XTIFFWriter::XFormat inFormat = XTIFFWriter::kClassic )
    {
        const auto path = itsFolder / "image.tif";
        WFile file( path, WFile::kCreate );
        XTIFFWriter writer( file, inFormat );
        for ( const auto* page : inPages )
            writer.WritePage( *page );
        return path;
    }

    std::string GetFailure( const std::string& inBytes )
    {
        return GetFailureOf( itsFolder.Write( "broken", inBytes ) );
    }

    /// What reading all pages throws, as text; empty when nothing.
    static std::string GetFailureOf( const std::filesystem::path& inPath )
    {
        try
        {
            const auto file = WImageFile::Open( inPath );
            for ( std::uint32_t i = 0; i < file->GetPageCount(); ++i )
                file->ReadPage( i );
            return {};
        }
        catch ( const WImageError& error )
        {
            return error.what();
        }
    }
};

/// The text with one part of it exchanged for another, which must be in it.
std::string Exchange( std::string_view inText, std::string_view inPart, std::string_view inOther )
{
    return std::string( inText ).replace( inText.find( inPart ), inPart.size(), inOther );
}

void ExpectSame( const WImagePage& inPage, const WImagePage& inExpected )
{
    ASSERT_EQ( inPage.GetByteCount(), inExpected.GetByteCount() );
    EXPECT_EQ( inPage.width, inExpected.width );
    EXPECT_EQ( inPage.channels, inExpected.channels );
    EXPECT_EQ( inPage.type, inExpected.type );
    EXPECT_EQ( std::memcmp( inPage.samples.get(), inExpected.samples.get(), inPage.GetByteCount() ), 0 );
}

/// 5 x 3 pixels of 16 bits in tiles of 4 x 2 whose samples count up row by row.
std::string MakeTiledTIFF( bool inBigEndian, bool inSeparate )
{
    HandmadeTIFF file( inBigEndian );
    const auto channels = inSeparate ? 2u : 1u;
    std::vector<std::uint32_t> tiles;
    for ( std::uint32_t channel = 0; channel < channels; ++channel )
        for ( std::uint32_t tile = 0; tile < 4; ++tile )
            for ( std::uint32_t i = 0; i < 8; ++i )
            {
                const auto x = tile % 2 * 4 + i % 4, y = tile / 2 * 2 + i / 4;
                const auto position = file.Append( channel * 1000 + y * 5 + x, 2 );
                if ( i == 0 )
                    tiles.push_back( position );
            }
    std::uint32_t offsets = 0, sizes = 0;
    for ( std::size_t i = 0; i < tiles.size(); ++i )
        offsets = i == 0 ? file.Append( tiles[i], 4 ) : ( file.Append( tiles[i], 4 ), offsets );
    for ( std::size_t i = 0; i < tiles.size(); ++i )
        sizes = i == 0 ? file.Append( 16, 4 ) : ( file.Append( 16, 4 ), sizes );

    const auto count = static_cast<std::uint32_t>( tiles.size() );
    return file.Finish(
        { { 256, 3, 1, 5 },
          { 257, 3, 1, 3 },
          { 258, 3, 1, 16 },
          { 277, 3, 1, channels },
          { 284, 3, 1, inSeparate ? 2u : 1u },
          { 322, 3, 1, 4 },
          { 323, 3, 1, 2 },
          { 324, 4, count, offsets },
          { 325, 4, count, sizes } } );
}
/// LZW without any texts: a clear before every 200 bytes keeps the codes at 9 bits.
std::string PackLZW( const std::string& inBytes )
{
    std::string packed;
    std::uint32_t bits = 0, count = 0;
    const auto add = [&]( std::uint32_t inCode )
    {
        bits = bits << 9 | inCode;
        for ( count += 9; count >= 8; count -= 8 )
            packed += static_cast<char>( bits >> ( count - 8 ) );
    };
    for ( std::size_t i = 0; i < inBytes.size(); ++i )
    {
        if ( i % 200 == 0 )
            add( 256 );
        add( static_cast<unsigned char>( inBytes[i] ) );
    }
    add( 257 );
    add( 0 );
    return packed;
}

std::string Pack( const std::string& inBytes, std::uint32_t inCompression )
{
    std::string packed;
    if ( inCompression == 5 )
        return PackLZW( inBytes );
    if ( inCompression != 32773 )
    {
        auto size = compressBound( static_cast<uLong>( inBytes.size() ) );
        packed.resize( size );
        compress(
            reinterpret_cast<Bytef*>( packed.data() ), &size,
            reinterpret_cast<const Bytef*>( inBytes.data() ), static_cast<uLong>( inBytes.size() ) );
        packed.resize( size );
        return packed;
    }
    for ( const auto byte : inBytes ) // Nothing, one byte as it is, nothing, ...
        packed += std::string( "\x80\0", 2 ) + byte;
    return packed;
}

struct Packing
{
    std::uint32_t compression;
    std::uint32_t predictor;
    bool isLowestBitFirst;
};

/// Samples of 16 bits in one strip that count up by 300 row by row.
std::string
MakePackedTIFF( bool inIsBigEndian, std::uint32_t inWidth, std::uint32_t inHeight, const Packing& inPacking )
{
    std::string bytes;
    for ( std::uint32_t i = 0; i < inWidth * inHeight; ++i )
    {
        const auto sample = inPacking.predictor == 2 && i % inWidth > 0 ? 300 : i * 300;
        const char low = static_cast<char>( sample ), high = static_cast<char>( sample >> 8 );
        bytes += inIsBigEndian ? std::string{ high, low } : std::string{ low, high };
    }
    HandmadeTIFF tiff( inIsBigEndian );
    const auto packed = Pack( bytes, inPacking.compression );
    std::uint32_t start = 0;
    for ( std::size_t i = 0; i < packed.size(); ++i )
    {
        auto byte = static_cast<unsigned char>( packed[i] ), reversed = byte;
        for ( int bit = 0; bit < 8; ++bit, byte = static_cast<unsigned char>( byte >> 1 ) )
            reversed = static_cast<unsigned char>( reversed << 1 | ( byte & 1 ) );
        const auto position =
            tiff.Append( inPacking.isLowestBitFirst ? reversed : static_cast<unsigned char>( packed[i] ), 1 );
        start = i == 0 ? position : start;
    }
    return tiff.Finish(
        { { 256, 3, 1, inWidth },
          { 257, 3, 1, inHeight },
          { 258, 3, 1, 16 },
          { 259, 3, 1, inPacking.compression },
          { 266, 3, 1, inPacking.isLowestBitFirst ? 2u : 1u },
          { 273, 4, 1, start },
          { 279, 4, 1, static_cast<std::uint32_t>( packed.size() ) },
          { 317, 3, 1, inPacking.predictor } } );
}
} // namespace

TEST_F( WImageFileTest, ReadsEverySampleTypeAndPage )
{
    std::mt19937 random( 11 );
    const auto first = MakePage( 33, MakeNoise<std::uint8_t>( random, 33 * 7, 256 ) );
    auto second = MakePage( 4, MakeNoise<std::uint16_t>( random, 4 * 5 * 3, 65536 ), 3 );
    second.pixelWidth = 0.25;
    second.pixelHeight = 0.5;
    auto third = MakePage( 5, MakeNoise<float>( random, 5 * 5, 100000 ) );
    third.pixelWidth = third.pixelHeight = 0.0001; // of an electron microscope
    for ( const auto format : { XTIFFWriter::kClassic, XTIFFWriter::kBig } )
    {
        const auto file = WImageFile::Open( WriteTIFF( { &first, &second, &third }, format ) );
        ASSERT_EQ( file->GetPageCount(), 3u );
        ExpectSame( file->ReadPage( 2 ), third );
        EXPECT_EQ( file->ReadPage( 2 ).pixelWidth, 0.0001 );
        ExpectSame( file->ReadPage( 0 ), first );
        EXPECT_FALSE( file->ReadPage( 0 ).HasResolution() );

        const auto page = file->ReadPage( 1 );
        ExpectSame( page, second );
        EXPECT_EQ( page.pixelWidth, 0.25 );
        EXPECT_EQ( page.pixelHeight, 0.5 );
        EXPECT_EQ( itsFolder.Read( "image.tif" )[2], format == XTIFFWriter::kBig ? '+' : '*' );
    }
}

TEST_F( WImageFileTest, IsClassicUnlessTheSizeForbidsIt )
{
    WImageFormat form;
    form.width = form.height = 2048;
    form.channels = 1;
    form.type = WImageFormat::kUInt16;
    EXPECT_EQ( XTIFFWriter::GetFormat( form, 511 ), XTIFFWriter::kClassic );
    EXPECT_EQ( XTIFFWriter::GetFormat( form, 512 ), XTIFFWriter::kBig );
    form.channels = 20000; // The values of such a directory take more room than one plane.
    form.width = form.height = 1;
    EXPECT_EQ( XTIFFWriter::GetFormat( form, 26000 ), XTIFFWriter::kClassic );
    EXPECT_EQ( XTIFFWriter::GetFormat( form, 27000 ), XTIFFWriter::kBig );
}

TEST_F( WImageFileTest, ReadsTilesAndPlanesOfEitherByteOrder )
{
    for ( const auto isBigEndian : { false, true } )
        for ( const auto isSeparate : { false, true } )
        {
            const auto path = itsFolder.Write( "tiles.tif", MakeTiledTIFF( isBigEndian, isSeparate ) );
            const auto page = WImageFile::Open( path )->ReadPage( 0 );
            ASSERT_EQ( page.channels, isSeparate ? 2u : 1u );
            for ( std::uint32_t i = 0; i < 15; ++i )
                for ( std::uint32_t channel = 0; channel < page.channels; ++channel )
                    EXPECT_EQ(
                        page.GetSamples<std::uint16_t>()[i * page.channels + channel], channel * 1000 + i );
        }
}

TEST_F( WImageFileTest, ReadsStripsWhereverTheyLie )
{
    // A strip for each of 3 rows of 2 bytes; 0 to 9 begin at offset 8.
    using Three = std::array<std::uint32_t, 3>;
    const auto write = [&]( const Three& inOffsets, const Three& inSizes )
    {
        HandmadeTIFF file( false );
        for ( std::uint32_t i = 0; i < 10; ++i )
            file.Append( i, 1 );
        const auto append = [&]( const Three& inNumbers )
        {
            const auto position = file.Append( inNumbers[0], 4 );
            file.Append( inNumbers[1], 4 );
            file.Append( inNumbers[2], 4 );
            return position;
        };
        const auto offsets = append( inOffsets ), sizes = append( inSizes );
        return file.Finish(
            { { 256, 3, 1, 2 },
              { 257, 3, 1, 3 },
              { 258, 3, 1, 8 },
              { 273, 4, 3, offsets },
              { 278, 3, 1, 1 },
              { 279, 4, 3, sizes } } );
    };
    const auto read = [&]( const Three& inOffsets, const Three& inSizes )
    {
        const auto path = itsFolder.Write( "strips.tif", write( inOffsets, inSizes ) );
        return std::string( WImageFile::Open( path )->ReadPage( 0 ).GetSamples<char>(), 6 );
    };
    const std::string_view counted( "\0\1\2\3\4\5\6\7\10\11", 10 );
    EXPECT_EQ( read( { 8, 10, 12 }, { 2, 2, 2 } ), counted.substr( 0, 6 ) );
    EXPECT_EQ( read( { 8, 10, 12 }, { 2, 2, 60000 } ), counted.substr( 0, 6 ) );
    EXPECT_EQ( read( { 8, 10, 13 }, { 2, 2, 2 } ), std::string( "\0\1\2\3\5\6", 6 ) );
    EXPECT_EQ( read( { 12, 10, 8 }, { 2, 2, 2 } ), std::string( "\4\5\2\3\0\1", 6 ) );
    EXPECT_EQ( GetFailure( write( { 8, 10, 12 }, { 2, 1, 2 } ) ), "one of its strips or tiles is too short" );
    EXPECT_EQ(
        GetFailure( write( { 8, 10, 60000 }, { 2, 2, 2 } ) ),
        "it is cut off: 2 bytes of samples are missing at offset 60000" );
}

TEST_F( WImageFileTest, ReadsWhatOtherProgramsWrite )
{
    const auto read = [&]( std::string_view inDigits )
    {
        const auto page = WImageFile::Open( itsFolder.Write( "image", FromHex( inDigits ) ) )->ReadPage( 0 );
        std::vector<std::uint32_t> samples;
        for ( std::uint32_t i = 0; i < page.width * page.height * page.channels; ++i )
            samples.push_back(
                page.type == WImagePage::kUInt8 ? page.GetSamples<std::uint8_t>()[i]
                                                : page.GetSamples<std::uint16_t>()[i] );
        return samples;
    };
    using Samples = std::vector<std::uint32_t>;
    const Samples counted{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 };
    auto steps = counted;
    for ( auto& step : steps )
        step *= 300;
    EXPECT_EQ( read( kDeflate16 ), steps );
    EXPECT_EQ( read( kDeflateTile16 ), steps );
    EXPECT_EQ( read( kBig16 ), steps );
    EXPECT_EQ( read( kLZW8 ), counted );
    EXPECT_EQ( read( kPackBits8 ), counted );

    // Where 0 is white, black becomes 0.
    const auto invert = []( Samples inSamples, std::uint32_t inWhite )
    {
        for ( auto& sample : inSamples )
            sample = inWhite - sample;
        return inSamples;
    };
    const std::string_view blackIsZero = "0601030001000000010000", whiteIsZero = "0601030001000000000000";
    EXPECT_EQ( read( Exchange( kDeflate16, blackIsZero, whiteIsZero ) ), invert( steps, 65535 ) );
    EXPECT_EQ( read( Exchange( kDeflateTile16, blackIsZero, whiteIsZero ) ), invert( steps, 65535 ) );
    EXPECT_EQ( read( Exchange( kLZW8, blackIsZero, whiteIsZero ) ), invert( counted, 255 ) );
    EXPECT_EQ(
        read( Exchange( kBig16, "060103000100000000000000010000", "060103000100000000000000000000" ) ),
        invert( steps, 65535 ) );

    EXPECT_EQ( read( kGrey8 ), ( Samples{ 0, 1, 2, 3, 4, 255 } ) );
    EXPECT_EQ( read( kGrey16 ), ( Samples{ 1, 515, 1029, 65534 } ) );
    EXPECT_EQ( read( kGrey1 ), ( Samples{ 0, 255, 255, 0 } ) );
    EXPECT_EQ( read( kGreyAlpha8 ), ( Samples{ 7, 9 } ) );
    EXPECT_EQ( read( kRGBA8 ), ( Samples{ 1, 2, 3, 4, 5, 6 } ) );
    EXPECT_EQ( read( kRGB16 ), ( Samples{ 258, 772, 1286 } ) );
    EXPECT_EQ( read( kRGBA16 ), ( Samples{ 258, 772, 1286 } ) );
    EXPECT_EQ( read( kPalette2 ), ( Samples{ 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120 } ) );
}

TEST_F( WImageFileTest, ReadsCompressionsOfEitherByteOrder )
{
    const std::uint32_t width = 300, height = 250; // More than is unpacked at a time.
    for ( const auto isBigEndian : { false, true } )
        for ( const auto& packing :
              { Packing{ 5, 1, false }, Packing{ 5, 2, true }, Packing{ 8, 1, true },
                Packing{ 32946, 2, false }, Packing{ 32773, 1, true } } )
        {
            SCOPED_TRACE( std::to_string( packing.compression ) + ( isBigEndian ? " MM" : " II" ) );
            const auto path =
                itsFolder.Write( "packed.tif", MakePackedTIFF( isBigEndian, width, height, packing ) );
            const auto page = WImageFile::Open( path )->ReadPage( 0 );
            std::uint32_t wrong = 0;
            for ( std::uint32_t i = 0; i < width * height; ++i )
                wrong += page.GetSamples<std::uint16_t>()[i] != static_cast<std::uint16_t>( i * 300 );
            EXPECT_EQ( wrong, 0u );
        }
}

TEST_F( WImageFileTest, RefusesDamagedCompressions )
{
    const auto sound = FromHex( kDeflate16 );
    const auto form = WImageFile::Open( itsFolder.Write( "sound", sound ) )->ReadPage( 0 );
    const auto isRefusedOrSound = [&]( const std::string& inBytes )
    {
        try
        {
            const auto page = WImageFile::Open( itsFolder.Write( "damaged", inBytes ) )->ReadPage( 0 );
            return std::memcmp( page.samples.get(), form.samples.get(), form.GetByteCount() ) == 0;
        }
        catch ( const WImageError& )
        {
            return true;
        }
    };
    // The checksum tells of whatever the samples do not show.
    for ( auto bit = ( sound.size() - 21 ) * 8; bit < sound.size() * 8; ++bit )
    {
        auto damaged = sound;
        damaged[bit / 8] = static_cast<char>( damaged[bit / 8] ^ 1 << bit % 8 );
        EXPECT_TRUE( isRefusedOrSound( damaged ) ) << bit;
    }

    const auto refuse = [&]( const std::string& inBytes, const std::string& inReason )
    {
        const auto path = itsFolder.Write( "damaged", inBytes );
        EXPECT_THROW( WImageFile::Open( path )->ReadPage( 0 ), WImageError ) << inReason;
        const auto lzw = WImageFile::Open( itsFolder.Write( "sound", FromHex( kLZW8 ) ) )->ReadPage( 0 );
        try
        {
            ReadBlocks( path, lzw );
            ADD_FAILURE() << inReason;
        }
        catch ( const WImageError& error )
        {
            EXPECT_EQ( error.what(), "its compressed samples are damaged: " + inReason );
        }
    };
    refuse( FromHex( Exchange( kLZW8, "800000202018", "804b00202018" ) ), "LZW code 300 is not defined yet" );
    refuse(
        FromHex( Exchange( kLZW8, "800000202018", "001000202018" ) ),
        "LZW data do not begin with a clear code" );
    EXPECT_EQ(
        GetFailure( MakePackedTIFF( false, 4, 3, { 32773, 2, false } ) ),
        "predictor 2 is not allowed with PackBits compression" );
}

TEST_F( WImageFileTest, ExchangesPlacesInPalettesForColours )
{
    // Green of 8 bits, then one level finer than that; the pixels are the places 0, 7 and 255.
    for ( const auto isFine : { false, true } )
    {
        HandmadeTIFF tiff( false );
        const auto pixels = tiff.Append( 0xFF0700, 3 );
        const auto colours = static_cast<std::uint32_t>( tiff.Append( 0, 2 ) );
        for ( std::uint32_t i = 1; i < 3 * 256; ++i )
            tiff.Append( i / 256 == 1 ? i % 256 * 257 - ( isFine && i % 256 == 7 ? 1 : 0 ) : 0, 2 );
        const auto bytes = tiff.Finish(
            { { 256, 3, 1, 3 },
              { 257, 3, 1, 1 },
              { 258, 3, 1, 8 },
              { 262, 3, 1, 3 },
              { 273, 4, 1, pixels },
              { 320, 3, 768, colours } } );
        const auto page = WImageFile::Open( itsFolder.Write( "palette.tif", bytes ) )->ReadPage( 0 );
        if ( isFine )
            ExpectSame( page, MakePage<std::uint16_t>( 3, { 0, 0, 0, 0, 7 * 257 - 1, 0, 0, 65535, 0 }, 3 ) );
        else
            ExpectSame( page, MakePage<std::uint8_t>( 3, { 0, 0, 0, 0, 7, 0, 0, 255, 0 }, 3 ) );
    }
}

// One row of three pixels; rows are padded to bytes.
TEST_F( WImageFileTest, ConvertsSamplesThatMemoryHasNoTypeFor )
{
    struct Stored
    {
        std::uint32_t bits, format, photometric;
        std::vector<std::uint64_t> words; // of `size` bytes
        int size;
        std::string samples;
    };
    const std::vector<Stored> cases{
        { 1, 1, 1, { 0b10100000 }, 1, "1 0 1" },
        { 1, 1, 0, { 0b10100000 }, 1, "0 1 0" },
        { 4, 1, 0, { 0x1F, 0x70 }, 1, "14 0 8" },
        { 12, 1, 1, { 0xAB, 0xC0, 0x12, 0xFF, 0xF0 }, 1, "2748 18 4095" },
        { 12, 2, 1, { 0x80, 0x00, 0x12, 0xFF, 0xF0 }, 1, "-2048 18 -1" },
        { 24, 1, 1, { 1, 0x800000, 0xFFFFFF }, 3, "1 8388608 16777215" },
        { 24, 2, 1, { 1, 0x800000, 0xFFFFFF }, 3, "1 -8388608 -1" },
        { 16, 2, 1, { 0x8000, 0xFFFF, 5 }, 2, "-32768 -1 5" },
        { 32, 1, 0, { 0xFFFFFFFF, 0xFFFFFFFE, 0xFF000000 }, 4, "0 1 16777215" },
        { 16, 3, 1, { 0x3C00, 0xFBFF, 1 }, 2, "1 -65504 5.9604645e-08" },
        { 32,
          1,
          1,
          { 0, 1, 0x1000001 },
          4,
          "its 32-bit unsigned samples exceed 16777216, above which 32-bit floats are not exact" },
        { 32,
          2,
          1,
          { 0, 1, 0xFEFFFFFF },
          4,
          "its 32-bit signed samples exceed 16777216, above which 32-bit floats are not exact" },
        { 64,
          3,
          1,
          { 0, 0x7FF0000000000000, 0x7E37E43C8800759C },
          8,
          "its 64-bit float samples exceed the range of 32-bit floats" },
        { 16, 2, 0, { 1 }, 2, "white is 0 (supported only for one unsigned sample per pixel)" } };
    for ( const auto isBigEndian : { false, true } )
        for ( const auto& stored : cases )
        {
            HandmadeTIFF tiff( isBigEndian );
            std::uint32_t first = 0;
            for ( const auto word : stored.words )
            {
                const auto position = tiff.Append( word, stored.size );
                first = first == 0 ? position : first;
            }
            const auto path = itsFolder.Write(
                "types.tif",
                tiff.Finish(
                    { { 256, 3, 1, 3 },
                      { 257, 3, 1, 1 },
                      { 258, 3, 1, stored.bits },
                      { 262, 3, 1, stored.photometric },
                      { 273, 4, 1, first },
                      { 339, 3, 1, stored.format } } ) );
            auto text = GetFailureOf( path );
            const auto print = [&]<class T>( std::type_identity<T> )
            {
                const auto page = WImageFile::Open( path )->ReadPage( 0 );
                std::ostringstream out;
                out.precision( 8 );
                for ( int i = 0; i < 3; ++i )
                    out << ( i > 0 ? " " : "" ) << +page.template GetSamples<T>()[i];
                text = out.str();
            };
            if ( text.empty() )
                VisitSampleType( WImageFile::Open( path )->ReadPage( 0 ).type, print );
            EXPECT_EQ( text, stored.samples ) << stored.bits << " bits, format " << stored.format;
        }

    // A palette of 16 colours.
    HandmadeTIFF tiff( false );
    const auto pixels = tiff.Append( 0x02F1, 2 ), colours = tiff.Append( 0, 2 );
    for ( std::uint32_t i = 1; i < 3 * 16; ++i )
        tiff.Append( i * 257, 2 );
    const auto bytes = tiff.Finish(
        { { 256, 3, 1, 3 },
          { 257, 3, 1, 1 },
          { 258, 3, 1, 4 },
          { 262, 3, 1, 3 },
          { 273, 4, 1, pixels },
          { 320, 3, 48, colours } } );
    ExpectSame(
        WImageFile::Open( itsFolder.Write( "palette.tif", bytes ) )->ReadPage( 0 ),
        MakePage<std::uint8_t>( 3, { 15, 31, 47, 1, 17, 33, 0, 16, 32 }, 3 ) );
}

TEST_F( WImageFileTest, LeavesOutThumbnailsAndMasks )
{
    const auto write = [&]( const std::vector<std::array<std::uint32_t, 2>>& inTypes )
    {
        HandmadeTIFF tiff( true );
        std::string bytes;
        for ( std::uint32_t page = 0; page < inTypes.size(); ++page )
        {
            const auto pixel = tiff.Append( page, 1 );
            const auto [tag, type] = inTypes[page];
            bytes = tiff.Finish(
                { { tag, tag == 254 ? 4u : 3u, 1, type },
                  { 256, 3, 1, 1 },
                  { 257, 3, 1, 1 },
                  { 258, 3, 1, 8 },
                  { 273, 4, 1, pixel } } );
        }
        return bytes;
    };
    const auto path = itsFolder.Write(
        "pages.tif", write( { { 254, 1 }, { 254, 2 }, { 255, 2 }, { 254, 0 }, { 254, 4 }, { 255, 3 } } ) );
    const auto file = WImageFile::Open( path );
    ASSERT_EQ( file->GetPageCount(), 3u );
    EXPECT_EQ( file->GetSkippedCount(), 3u );
    for ( const std::uint32_t page : { 0, 1, 2 } )
        EXPECT_EQ( file->ReadPage( page ).GetSamples<std::uint8_t>()[0], page * 2 + 1 );
    EXPECT_EQ( GetFailure( write( { { 254, 1 } } ) ), "it has only masks and pages of reduced resolution" );
}

TEST_F( WImageFileTest, ReadsTheResolutionOfPNG )
{
    const auto page = WImageFile::Open( itsFolder.Write( "image", FromHex( kGrey8 ) ) )->ReadPage( 0 );
    EXPECT_EQ( page.pixelWidth, 0.5 );
    EXPECT_EQ( page.pixelHeight, 0.25 );
    EXPECT_FALSE(
        WImageFile::Open( itsFolder.Write( "image", FromHex( kGrey16 ) ) )->ReadPage( 0 ).HasResolution() );
}

TEST_F( WImageFileTest, RefusesEveryTruncation )
{
    const auto page = MakePage<std::uint16_t>( 3, { 1, 2, 3, 4, 5, 6 } );
    for ( const auto& path :
          { WriteTIFF( { &page, &page } ), itsFolder.Write( "grey.png", FromHex( kGrey8 ) ) } )
    {
        EXPECT_EQ( GetFailureOf( path ), "" );
        for ( auto size = std::filesystem::file_size( path ); size-- > 0; )
        {
            std::filesystem::resize_file( path, size );
            EXPECT_NE( GetFailureOf( path ), "" ) << size;
        }
    }
}

TEST_F( WImageFileTest, SurvivesEveryFlippedBit )
{
    for ( const auto& bytes : { MakeTiledTIFF( false, true ), FromHex( kLZW8 ), FromHex( kPackBits8 ) } )
    {
        const auto path = itsFolder.Write( "broken", bytes );
        WFile file( path, WFile::kReadWrite );
        for ( std::size_t bit = 0; bit < bytes.size() * 8; ++bit )
        {
            const auto damaged = static_cast<char>( bytes[bit / 8] ^ 1 << bit % 8 );
            file.WriteAt( bit / 8, &damaged, 1 );
            GetFailureOf( path );
            file.WriteAt( bit / 8, &bytes[bit / 8], 1 );
        }
    }
}

TEST_F( WImageFileTest, SaysWhatIsWrong )
{
    EXPECT_EQ( GetFailure( "" ), "it is neither a TIFF nor a PNG file" );
    EXPECT_EQ( GetFailure( std::string( "II*\0\0\0\0\0", 8 ) ), "it has no pages" );
    EXPECT_EQ(
        GetFailure( std::string( "II+\0\4\0\0\0\x10\0\0\0\0\0\0\0", 16 ) ),
        "its offsets have 4 bytes (expected 8)" );

    // Its directory names itself as the next one.
    HandmadeTIFF circle( false );
    auto bytes = circle.Finish( {} );
    bytes[10] = 8;
    EXPECT_EQ( GetFailure( bytes ), "its page directory is cyclic" );

    HandmadeTIFF huge( true );
    bytes = huge.Finish( { { 256, 4, 1, 60000 }, { 257, 4, 1, 60000 }, { 258, 3, 1, 8 }, { 273, 4, 1, 8 } } );
    EXPECT_EQ( GetFailure( bytes ), "a page of 60000 x 60000 pixels is impossible in a file of this size" );

    HandmadeTIFF lab( false ), tiles( false );
    const HandmadeTIFF::Entries one{ { 256, 3, 1, 1 }, { 257, 3, 1, 1 }, { 258, 3, 1, 8 }, { 273, 4, 1, 0 } };
    auto entries = one;
    entries.push_back( { 262, 3, 1, 8 } );
    EXPECT_EQ(
        GetFailure( lab.Finish( entries ) ),
        "unsupported photometric interpretation 8 (expected grey, RGB, YCbCr or palette)" );
    entries = one;
    entries.insert( entries.end(), { { 322, 4, 1, 1u << 31 }, { 323, 4, 1, 1u << 31 }, { 324, 4, 1, 0 } } );
    EXPECT_EQ(
        GetFailure( tiles.Finish( entries ) ),
        "its tiles of 2147483648 x 2147483648 pixels are much larger than the page" );

    const auto getFailureWith = [&]( const std::array<std::uint32_t, 4>& inEntry )
    {
        auto page = one;
        page.push_back( inEntry );
        return GetFailure( HandmadeTIFF( false ).Finish( page ) );
    };
    EXPECT_EQ( getFailureWith( { 277, 4, 1, 65537 } ), "its pixels have 65537 samples (at most 65535)" );
    EXPECT_EQ(
        getFailureWith( { 339, 3, 1, 5 } ),
        "its samples are 8-bit complex (expected signed or unsigned of 1 to 32 or 64 bits, or float of 16, 32 or 64 "
        "bits)" );
    const HandmadeTIFF::Entries planes{
        { 259, 3, 1, 7 }, { 262, 3, 1, 6 }, { 277, 3, 1, 3 }, { 284, 3, 1, 2 } };
    entries = one;
    entries.insert( entries.end(), planes.begin(), planes.end() );
    EXPECT_EQ(
        GetFailure( HandmadeTIFF( false ).Finish( entries ) ),
        "its colours are YCbCr in separate planes (expected interleaved samples)" );
    EXPECT_EQ( getFailureWith( { 284, 3, 1, 3 } ), "its planar configuration is 3 (expected 1 or 2)" );
    EXPECT_EQ( getFailureWith( { 32997, 4, 1, 1 } ), "" );
    for ( const auto& entry : HandmadeTIFF::Entries{ { 32997, 4, 1, 6 }, { 33629, 5, 6, 8 } } )
        EXPECT_EQ( getFailureWith( entry ), "it has 6 planes, of which only the first could be read" );
}

TEST_F( WImageFileTest, TellsOfItsFirstPageAndNotOfAThumbnail )
{
    HandmadeTIFF tiff( false );
    const auto pixel = tiff.Append( 0, 1 );
    const HandmadeTIFF::Entries size{ { 256, 3, 1, 1 }, { 257, 3, 1, 1 }, { 258, 3, 1, 8 } };
    auto thumbnail = size, page = size;
    thumbnail.insert( thumbnail.begin(), { 254, 4, 1, 1 } );
    tiff.Finish( thumbnail );
    const auto resolution = tiff.Append( 2000, 4 );
    tiff.Append( 1, 4 );
    page.insert(
        page.end(),
        { { 270, 2, 4, 0x74736574 }, // "test"
          { 270, 2, 4, 0x65726F6D }, // "more"
          { 273, 4, 1, pixel },
          { 282, 5, 1, resolution },
          { 283, 5, 1, resolution },
          { 296, 3, 1, 4 } } );
    const auto bytes = tiff.Finish( page );
    const auto file = WImageFile::Open( itsFolder.Write( "image.tif", bytes ) );
    EXPECT_EQ( file->GetDescriptions(), ( std::vector<std::string>{ "test", "more" } ) );
    EXPECT_EQ( file->GetLayout().planesInFile, bytes.size() - pixel );
    EXPECT_EQ( WImageFile::Open( itsFolder.Write( "lzw", FromHex( kLZW8 ) ) )->GetLayout().planesInFile, 1u );
    EXPECT_FALSE( file->ReadPage( 0 ).HasResolution() ); // There is no unit 4.
}

TEST_F( WImageFileTest, RefusesPNGOfTooManyPixels )
{
    EXPECT_EQ(
        GetFailure( FromHex( kWidePNG ) ),
        "a page of 200000 x 1 pixels is impossible in a file of this size" );
    EXPECT_EQ(
        GetFailure( FromHex( kWidestPNG ) + std::string( 2000, '\0' ) ),
        "a page of 8388609 x 1 pixels has too long rows (at most 8388608 pixels)" );
}
