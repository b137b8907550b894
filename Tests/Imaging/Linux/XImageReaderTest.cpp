#include "Imaging/XImageReader.h"

#include "Imaging/TestPages.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "TestFolder.h"

/// An image that waits for those before it holds no descriptor, of which a process has few.
TEST( XImageReaderTest, CloseTheFileWhenItsPagesAreRead )
{
    const TestFolder folder;
    const auto path = folder / "image.tif";
    const auto page = MakePage<std::uint8_t>( 2, { 1, 2 } );
    {
        WFile file( path, WFile::kCreate );
        XTIFFWriter writer( file, XTIFFWriter::kClassic );
        writer.WritePage( page );
        writer.WritePage( page );
    }
    const auto before = CountDescriptors();
    XImageReader readers( path );
    readers.ReadPage( 0, WImagePage::AllocateFromHeap );
    EXPECT_EQ( CountDescriptors(), before + 1 );
    readers.ReadPage( 1, WImagePage::AllocateFromHeap );
    EXPECT_EQ( CountDescriptors(), before );
    EXPECT_EQ( readers.ReadPage( 0, WImagePage::AllocateFromHeap ).width, 2u );
}
