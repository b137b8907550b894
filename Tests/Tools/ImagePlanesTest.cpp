#include "ImagePlanes.h"

#include <gtest/gtest.h>

namespace
{
class DescribedFile : public WImageFile
{
public:
    std::string description;
    std::uint32_t pages = 1;
    std::uint64_t samplesPerPixel = 1;

    std::uint32_t GetPageCount() const override { return pages; }
    std::uint64_t GetSamplesPerPixel() const override { return samplesPerPixel; }
    std::string GetDescription() const override { return description; }

protected:
    WImagePage ReadPageSelf( std::uint32_t, const Progress&, const WImagePage::Allocator& ) override
    {
        return {};
    }
};

/// Why such a file is refused, without the hint; empty when it is not.
std::string GetRefusal(
    const std::string& inDescription, std::uint32_t inPages, std::uint64_t inSamplesPerPixel = 1,
    bool inAreTimes = false )
{
    DescribedFile file;
    file.description = inDescription;
    file.pages = inPages;
    file.samplesPerPixel = inSamplesPerPixel;
    try
    {
        CheckPlanes( file, inAreTimes );
        return {};
    }
    catch ( const WImageError& error )
    {
        const std::string text = error.what();
        return text.substr( 0, text.find( " (--planes-as-times" ) );
    }
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

TEST( ImagePlanes, OfImageJAreTimesOnly )
{
    EXPECT_EQ( GetRefusal( "ImageJ=1.53t\nimages=5\nframes=5\nhyperstack=true\n", 5 ), "" );
    EXPECT_EQ( GetRefusal( "ImageJ=1.53t\nimages=5\nunit=micron\n", 5 ), "" );
    EXPECT_EQ( GetRefusal( "ImageJ=1.53t\nunit=micron\nmin=3.0\n", 1 ), "" );
    EXPECT_EQ(
        GetRefusal( "ImageJ=1.53t\nimages=5\nslices=5\n", 5 ),
        "its description declares 5 slices, which cannot be told apart yet" );
    const std::string hyperstack = "ImageJ=1.53t\r\nimages=24\r\nchannels=2\r\nslices=3\r\nframes=4";
    EXPECT_EQ(
        GetRefusal( hyperstack, 24 ),
        "its description declares 2 channels, 3 slices and 4 time points, which "
        "cannot be told apart yet" );
    EXPECT_EQ( GetRefusal( hyperstack, 24, 1, true ), "" );
    EXPECT_EQ(
        GetRefusal( "ImageJ=1.53t\nimages=5\n", 4 ),
        "its description declares 5 planes, but it has 4 pages" );

    // Planes that have no directory cannot be read at all.
    for ( const auto areTimes : { false, true } )
        EXPECT_EQ(
            GetRefusal( "ImageJ=1.53t\nimages=5\nframes=5\n", 1, 1, areTimes ),
            "its description declares 5 time points behind one another in one page: only the first could be read, "
            "--planes-as-times or not" );
}

TEST( ImagePlanes, OfOMEAreTimesOnly )
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
    const std::string refusal = "its description declares 2 channels, which cannot be told apart yet";
    EXPECT_EQ( GetRefusal( twoChannels, 2 ), refusal );
    EXPECT_EQ( GetRefusal( twoChannels, 1, 3 ), refusal );
    EXPECT_EQ( GetRefusal( twoChannels, 2, 1, true ), "" );
    EXPECT_EQ(
        GetRefusal( "<ome:OME><ome:Pixels SizeZ='4294967297' SizeC='6'/></ome:OME>", 3, 3 ),
        "its description declares 2 channels and 1048576 slices, which cannot be told apart yet" );
    EXPECT_EQ(
        GetRefusal( MakeOME( MakePixels( "SizeT='1'" ) + MakePixels( "SizeT='2'" ) ), 3 ),
        "its description declares 2 images, which cannot be told apart yet" );
    EXPECT_EQ(
        GetRefusal( MakeOME( MakePixels( "SizeT='7'" ) ), 1 ),
        "its description declares 7 time points, but it has 1 page" );
    EXPECT_EQ(
        GetRefusal( MakeOME( "<BinaryOnly MetadataFile='a.companion.ome'/>" ), 3 ),
        "another file declares what its pages are" );
}
