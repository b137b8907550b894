#include "Imaging/Internal/XImagePlanes.h"

#include "Testing.h"

namespace
{
struct DescribedFile : WImageFile
{
    std::vector<std::string> descriptions;
    std::uint32_t pages = 1;
    Layout layout;

    std::uint32_t GetPageCount() const override { return pages; }
    Layout GetLayout() const override { return layout; }
    std::vector<std::string> GetDescriptions() const override { return descriptions; }

protected:
    WImagePage ReadPageSelf( std::uint32_t, const Progress&, const WImagePage::Allocator& ) override
    {
        return {};
    }
};

/// Why such a file with pages of 30 x 40 pixels is refused; empty when it is not.
std::string GetRefusal(
    const std::string& inDescription, std::uint32_t inPages, std::uint64_t inSamplesPerPixel = 1,
    bool inAreTimes = false, std::uint64_t inPlanesInFile = 1 )
{
    DescribedFile file;
    file.descriptions = { "made by hand", inDescription };
    file.pages = inPages;
    file.layout = { 30, 40, inSamplesPerPixel, inPlanesInFile };
    return TextOfError( [&] { XCheckPlanes( file, inAreTimes ); } );
}

std::string MakePixels( const std::string& inSizes )
{
    return "<Image ID='Image:0'><Pixels ID=\"Pixels:0\" " + inSizes + "><Channel/></Pixels></Image>";
}

std::string MakeOME( const std::string& inContents )
{
    return "<?xml version=\"1.0\"?><!-- <Pixels SizeC='9'/> --><OME xmlns=\"x\" a='>'>" + inContents +
        "</OME>";
}
} // namespace

TEST( XImagePlanesTest, OfImageJAreTimesOnly )
{
    EXPECT_EQ( GetRefusal( "ImageJ=1.53t\nimages=5\nframes=5\nhyperstack=true\n", 5 ), "" );
    EXPECT_EQ( GetRefusal( "ImageJ=1.53t\nimages=5\nunit=micron\n", 5 ), "" );
    EXPECT_EQ( GetRefusal( "ImageJ=1.53t\nunit=micron\nmin=3.0\n", 1 ), "" );
    EXPECT_EQ(
        GetRefusal( "ImageJ=1.53t\nimages=5\nslices=5\n", 5 ),
        "its description declares 5 slices: only stacks of time points are supported" );
    const std::string hyperstack = "ImageJ=1.53t\r\nimages=24\r\nchannels=2\r\nslices=3\r\nframes=4";
    EXPECT_EQ(
        GetRefusal( hyperstack, 24 ),
        "its description declares 2 channels, 3 slices and 4 time points: "
        "only stacks of time points are supported" );
    EXPECT_EQ( GetRefusal( hyperstack, 24, 1, true ), "" );
    EXPECT_EQ(
        GetRefusal( "ImageJ=1.53t\nimages=5\n", 4 ),
        "its description declares 5 planes, but it has 4 pages" );

    // Planes that have no directory cannot be read, where the file has them. A page that was copied from a stack can.
    const std::string stack = "ImageJ=1.53t\nimages=5\nframes=5\n";
    for ( const auto areTimes : { false, true } )
        EXPECT_EQ(
            GetRefusal( stack, 1, 1, areTimes, 5 ),
            "its description declares 5 time points in one page: only the first could be read" );
    EXPECT_EQ(
        GetRefusal( stack, 1, 1, false, 4 ), "its description declares 5 time points, but it has 1 page" );
    EXPECT_EQ( GetRefusal( stack, 1, 1, true, 4 ), "" );
}

TEST( XImagePlanesTest, OfArraysAreTimesOnly )
{
    EXPECT_EQ( GetRefusal( "{\"shape\": [5, 40, 30]}", 5 ), "" );
    EXPECT_EQ( GetRefusal( "{\"shape\": [5, 40, 30, 3]}", 5, 3 ), "" );
    EXPECT_EQ( GetRefusal( "{\"shape\": [3, 40, 30]}", 1, 3 ), "" ); // Red, green and blue apart.
    EXPECT_EQ( GetRefusal( "{\"shape\": [40, 30]}", 5 ), "" );       // Written page by page.
    EXPECT_EQ( GetRefusal( "{\"shape\": [1, 5, 1, 40, 30], \"axes\": \"ZTCYX\"}", 5 ), "" );
    EXPECT_EQ( GetRefusal( "{\"shape\": [5, 41, 30]}", 2 ), "" ); // Of other pages.
    EXPECT_EQ( GetRefusal( "{\"shapes\": 7, \"shape\" : [5, x, 40, 30]}", 2 ), "" );
    EXPECT_EQ( GetRefusal( "{\"shape\"", 2 ), "" );

    const std::string truncated = "{\"truncated\": true, \"shape\": [5, 40, 30]}";
    for ( const auto& text : { truncated, std::string( "shape=(5, 40, 30)" ) } )
        EXPECT_EQ( GetRefusal( text, 1 ), "its description declares 5 planes, but it has 1 page" );
    EXPECT_EQ( GetRefusal( truncated, 1, 1, true ), "" );
    EXPECT_NE( GetRefusal( truncated, 1, 1, true, 5 ), "" );
    EXPECT_EQ(
        GetRefusal( "{\"axes\": \"TCYX\", \"shape\": [3, 2, 40, 30]}", 6 ),
        "its description declares 2 channels and 3 time points: only stacks of time points are supported" );
    EXPECT_EQ(
        GetRefusal( "{\"shape\": [3, 2, 40, 30]}", 6 ),
        "its description declares 6 planes in 2 dimensions: only stacks of time points are supported" );
    EXPECT_EQ( GetRefusal( "{\"shape\": [3, 2, 40, 30]}", 6, 1, true ), "" );
}

TEST( XImagePlanesTest, OfOMEAreTimesOnly )
{
    EXPECT_EQ( GetRefusal( MakeOME( MakePixels( "SizeC='1' SizeZ='1' SizeT='7'" ) ), 7 ), "" );
    EXPECT_EQ( GetRefusal( MakeOME( MakePixels( "SizeT = \" 7 \" SizeX='9>8'" ) ), 7 ), "" );
    EXPECT_EQ(
        GetRefusal( MakeOME( MakePixels( "SizeC='3' SizeZ='1' SizeT='1'" ) ), 1, 3 ),
        "" ); // Red, green, blue.
    EXPECT_EQ( GetRefusal( MakeOME( "" ), 3 ), "" );
    EXPECT_EQ( GetRefusal( "<other><Pixels SizeC='2'/></other>", 3 ), "" );
    EXPECT_EQ( GetRefusal( "<OME><Pixels SizeC='2", 1 ), "" );

    const auto twoChannels = MakeOME( MakePixels( "BigEndian='true' SizeC='2'\nSizeT='1'" ) );
    const std::string refusal =
        "its description declares 2 channels: only stacks of time points are supported";
    EXPECT_EQ( GetRefusal( twoChannels, 2 ), refusal );
    EXPECT_EQ( GetRefusal( twoChannels, 1, 3 ), refusal );
    EXPECT_EQ( GetRefusal( twoChannels, 2, 1, true ), "" );
    EXPECT_EQ(
        GetRefusal( "<ome:OME><ome:Pixels SizeZ='4294967297' SizeC='6'/></ome:OME>", 3, 3 ),
        "its description declares 2 channels and 1048576 slices: only stacks of time points are supported" );
    EXPECT_EQ(
        GetRefusal( MakeOME( MakePixels( "SizeT='1'" ) + MakePixels( "SizeT='2'" ) ), 3 ),
        "its description declares 2 images: only stacks of time points are supported" );
    EXPECT_EQ(
        GetRefusal( MakeOME( MakePixels( "SizeT='7'" ) ), 1 ),
        "its description declares 7 time points, but it has 1 page" );
    EXPECT_EQ(
        GetRefusal( MakeOME( "<BinaryOnly MetadataFile='a.companion.ome'/>" ), 3 ),
        "another file describes its pages" );
}
