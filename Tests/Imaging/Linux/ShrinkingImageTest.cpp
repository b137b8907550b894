#include "Images/WImageFile.h"

#include "Imaging/HandmadeTIFF.h"
#include "TestFolder.h"

/// Another program may cut a file off at any moment. That fails the page and nothing else.
TEST( ShrinkingImageTest, FailsWhereverItIsCutOff )
{
    constexpr std::uint32_t kRows = 64;
    for ( const std::uint32_t compression : { 1u, 32773u } ) // None, PackBits.
    {
        HandmadeTIFF tiff( false );
        std::vector<std::uint32_t> strips;
        for ( std::uint32_t row = 0; row < kRows; ++row )
        {
            strips.push_back( tiff.Append( 127, 1 ) ); // 128 bytes follow as they are.
            for ( std::uint32_t x = 0; x < 128; ++x )
                tiff.Append( x, 1 );
        }
        std::uint32_t offsets = 0, sizes = 0;
        for ( const auto strip : strips )
            offsets = std::max( offsets, tiff.Append( strip, 4 ) );
        for ( std::size_t i = 0; i < strips.size(); ++i )
            sizes = std::max( sizes, tiff.Append( 129, 4 ) );
        const auto bytes = tiff.Finish(
            { { 256, 3, 1, 128 },
              { 257, 3, 1, kRows },
              { 258, 3, 1, 8 },
              { 259, 3, 1, compression },
              { 262, 3, 1, 1 },
              { 273, 4, kRows, offsets - 4 * ( kRows - 1 ) },
              { 278, 3, 1, 1 },
              { 279, 4, kRows, sizes - 4 * ( kRows - 1 ) } } );

        const TestFolder folder;
        const auto path = folder.Write( "image.tif", bytes );
        const auto file = WImageFile::Open( path );
        EXPECT_EQ( file->ReadPage( 0 ).GetSamples<std::uint8_t>()[127], compression == 1 ? 126 : 127 );
        std::uint32_t reports = 0;
        const auto cutOff = [&]( double )
        {
            if ( ++reports == kRows / 2 )
                std::filesystem::resize_file( path, 0 );
        };
        EXPECT_THROW( file->ReadPage( 0, cutOff ), WImageError );
    }
}
