#include "Imaging/ImageReader.h"

#include "Imaging/TIFFWriter.h"
#include "Imaging/TestPages.h"
#include "TestFolder.h"

#include <gtest/gtest.h>

/// An image that waits for those before it holds no descriptor, of which a process has few.
TEST( ImageReader, CloseTheFileWhenItsPagesAreRead )
{
    const auto countDescriptors = []
    {
        return std::distance(
            std::filesystem::directory_iterator( "/proc/self/fd" ), std::filesystem::directory_iterator() );
    };
    const TestFolder folder;
    const auto path = folder / "image.tif";
    const auto page = MakePage<std::uint8_t>( 2, { 1, 2 } );
    {
        WFile file( path, WFile::kCreate );
        TIFFWriter writer( file, TIFFWriter::kClassic );
        writer.WritePage( page );
        writer.WritePage( page );
    }
    const auto before = countDescriptors();
    ImageReader readers( path );
    readers.ReadPage( 0, WImagePage::AllocateFromHeap );
    EXPECT_EQ( countDescriptors(), before + 1 );
    readers.ReadPage( 1, WImagePage::AllocateFromHeap );
    EXPECT_EQ( countDescriptors(), before );
    EXPECT_EQ( readers.ReadPage( 0, WImagePage::AllocateFromHeap ).width, 2u );
}
