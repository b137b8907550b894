#include "Imaging/XImageStructure.h"

#include "Images/WXMLReader.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "TestFolder.h"
#include "Testing.h"

#include <cmath>

namespace
{
struct DescribedFile : WImageFile
{
    std::vector<std::string> descriptions;
    std::uint32_t pages = 1;
    Layout layout;

    using WImageFile::GetLayout;
    std::uint32_t GetPageCount() const override { return pages; }
    Layout GetLayout( std::uint32_t ) const override { return layout; }
    std::string GetFormatName() const override { return "TIFF"; }
    std::vector<std::string> GetDescriptions() const override { return descriptions; }

protected:
    WImagePage ReadPageSelf( std::uint32_t, const Progress&, const WImagePage::Allocator& ) override
    {
        return {};
    }
};

/// The structure of a file with pages of 30 x 40 pixels.
XImageStructure Read(
    const std::string& inDescription, std::uint32_t inPages, std::uint64_t inSamplesPerPixel = 1,
    bool inAreTimes = false, std::uint64_t inPlanesInFile = 1 )
{
    DescribedFile file;
    file.descriptions = { "made by hand", inDescription };
    file.pages = inPages;
    file.layout = { 30, 40, inSamplesPerPixel, inPlanesInFile, inSamplesPerPixel, "8-bit unsigned" };
    file.layout.unitsPerPixelX = 0.5;
    file.layout.unitsPerPixelY = 0.25;
    return inAreTimes ? XImageStructure::ReadPages( file, "own.ome.tif" )
                      : XImageStructure::Read( file, "own.ome.tif" );
}

/// Why such a file is refused; empty when it is not.
std::string GetRefusal(
    const std::string& inDescription, std::uint32_t inPages, std::uint64_t inSamplesPerPixel = 1,
    bool inAreTimes = false, std::uint64_t inPlanesInFile = 1 )
{
    return TextOfError( [&]
                        { Read( inDescription, inPages, inSamplesPerPixel, inAreTimes, inPlanesInFile ); } );
}

/// Channels, slices and time points of the first series, such as "2 3 4".
std::string GetSizes(
    const std::string& inDescription, std::uint32_t inPages, std::uint64_t inSamplesPerPixel = 1,
    bool inAreTimes = false, std::uint64_t inPlanesInFile = 1 )
{
    const auto series =
        Read( inDescription, inPages, inSamplesPerPixel, inAreTimes, inPlanesInFile ).series.at( 0 );
    return std::to_string( series.channels ) + " " + std::to_string( series.slices ) + " " +
        std::to_string( series.times );
}

std::string MakePixels( const std::string& inSizes, const std::string& inContents = "" )
{
    return "<Image ID='Image:0' Name='a &amp; b'><Pixels ID=\"Pixels:0\" " + inSizes + ">" + inContents +
        "</Pixels></Image>";
}

std::string MakeOME( const std::string& inContents )
{
    return "<?xml version=\"1.0\"?><!-- <Pixels SizeC='9'/> --><OME xmlns=\"x\" UUID='urn:own' a='>'>" +
        inContents + "</OME>";
}
} // namespace

TEST( XImageStructureTest, OfImageJHasItsDimensionsAndCalibration )
{
    EXPECT_EQ( GetSizes( "ImageJ=1.53t\nimages=5\nframes=5\nhyperstack=true\n", 5 ), "1 1 5" );
    EXPECT_EQ( GetSizes( "ImageJ=1.53t\nimages=5\nunit=micron\n", 5 ), "1 1 5" );
    EXPECT_EQ( GetSizes( "ImageJ=1.53t\nunit=micron\nmin=3.0\n", 1 ), "1 1 1" );
    EXPECT_EQ( GetSizes( "ImageJ=1.53t\nimages=5\nslices=5\n", 5 ), "1 5 1" );
    EXPECT_EQ( GetSizes( "ImageJ=1.53t\nchannels=2\nimages=4\nslices=2\n", 4, 3 ), "6 2 1" ); // Of colours.
    const std::string hyperstack = "ImageJ=1.53t\r\nimages=24\r\nchannels=2\r\nslices=3\r\nframes=4\r\n";
    const auto series = Read( hyperstack + "unit=nm\nspacing=40\nfinterval=2\ntunit=min\n", 24 ).series[0];
    EXPECT_EQ( series.GetPlane( 1, 2, 3 ).page, 23u );
    EXPECT_EQ( series.GetPlane( 1, 0, 1 ).page, 7u );
    EXPECT_DOUBLE_EQ( series.pixelWidth, 0.0005 );
    EXPECT_DOUBLE_EQ( series.pixelHeight, 0.00025 );
    EXPECT_DOUBLE_EQ( series.sliceSpacing, 0.04 );
    EXPECT_EQ( series.GetTime( 0, 3 ), 360 );
    for ( const auto* micro : { "um", "micron", "\\u00B5m", "\xB5m", "\u00B5m" } )
        EXPECT_EQ( Read( hyperstack + "unit=" + micro, 24 ).series[0].pixelWidth, 0.5 ) << micro;
    EXPECT_EQ( Read( hyperstack + "unit=pixel", 24 ).series[0].pixelSource, XImageSource::kNone );
    EXPECT_EQ( GetSizes( hyperstack, 24, 1, true ), "1 1 24" );

    EXPECT_EQ(
        GetRefusal( "ImageJ=1.53t\nimages=5\n", 4 ),
        "its description declares 5 time points, but it has 4 pages" );
    EXPECT_EQ(
        GetRefusal( "ImageJ=1.53t\nimages=7\nslices=2\nframes=3", 7 ),
        "its description declares 2 slices and 3 time points, but 7 planes" );

    // Planes that have no directory cannot be read, where the file has them. A page that was copied from a stack can.
    const std::string stack = "ImageJ=1.53t\nimages=5\nframes=5\n";
    for ( const auto areTimes : { false, true } )
        EXPECT_EQ(
            GetRefusal( stack, 1, 1, areTimes, 5 ),
            "its description declares 5 time points in one page: only the first could be read" );
    EXPECT_EQ(
        GetRefusal( stack, 1, 1, false, 4 ), "its description declares 5 time points, but it has 1 page" );
    EXPECT_EQ( GetSizes( stack, 1, 1, true, 4 ), "1 1 1" );
}

TEST( XImageStructureTest, OfArraysHasTheirNamedAxes )
{
    EXPECT_EQ( GetSizes( "{\"shape\": [5, 40, 30]}", 5 ), "1 1 5" );
    EXPECT_EQ( GetSizes( "{\"shape\": [5, 40, 30, 3]}", 5, 3 ), "3 1 5" );
    EXPECT_EQ( GetSizes( "{\"shape\": [3, 40, 30]}", 1, 3 ), "3 1 1" ); // Red, green and blue apart.
    EXPECT_EQ( GetSizes( "{\"shape\": [40, 30]}", 5 ), "1 1 5" );       // Written page by page.
    EXPECT_EQ( GetSizes( "{\"shape\": [1, 5, 1, 40, 30], \"axes\": \"ZTCYX\"}", 5 ), "1 1 5" );
    EXPECT_EQ( GetSizes( "{\"shape\": [5, 41, 30]}", 2 ), "1 1 2" ); // Of other pages.
    EXPECT_EQ( GetSizes( "{\"shapes\": 7, \"shape\" : [5, x, 40, 30]}", 2 ), "1 1 2" );
    EXPECT_EQ( GetSizes( "{\"shape\"", 2 ), "1 1 2" );
    const auto series = Read( "{\"axes\": \"TCYX\", \"shape\": [3, 2, 40, 30]}", 6 ).series[0];
    EXPECT_EQ( series.GetPlane( 1, 0, 2 ).page, 5u );
    EXPECT_EQ(
        Read( "{\"axes\": \"CTYX\", \"shape\": [2, 3, 40, 30]}", 6 ).series[0].GetPlane( 1, 0, 0 ).page, 3u );

    const std::string truncated = "{\"truncated\": true, \"shape\": [5, 40, 30]}";
    for ( const auto& text : { truncated, std::string( "shape=(5, 40, 30)" ) } )
        EXPECT_EQ( GetRefusal( text, 1 ), "its description declares 5 planes, but it has 1 page" );
    EXPECT_EQ( GetSizes( truncated, 1, 1, true ), "1 1 1" );
    EXPECT_NE( GetRefusal( truncated, 1, 1, true, 5 ), "" );
    const std::string refusal =
        "its description declares 6 planes in 2 dimensions that are not channels, slices "
        "and time points";
    EXPECT_EQ( GetRefusal( "{\"shape\": [3, 2, 40, 30]}", 6 ), refusal );
    EXPECT_EQ( GetRefusal( "{\"axes\": \"QCYX\", \"shape\": [3, 2, 40, 30]}", 6 ), refusal );
    EXPECT_EQ( GetSizes( "{\"shape\": [3, 2, 40, 30]}", 6, 1, true ), "1 1 6" );
    EXPECT_EQ(
        GetRefusal( "{\"axes\": \"CYX\", \"shape\": [2, 40, 30]}", 6 ),
        "its description declares 2 channels, but it has 6 pages" );
}

TEST( XImageStructureTest, OfOMEHasItsDimensionsAndCalibration )
{
    EXPECT_EQ( GetSizes( MakeOME( MakePixels( "SizeC='1' SizeZ='1' SizeT='7'" ) ), 7 ), "1 1 7" );
    EXPECT_EQ( GetSizes( MakeOME( MakePixels( "SizeT = \" 7 \"" ) ), 7 ), "1 1 7" );
    EXPECT_EQ(
        GetSizes( MakeOME( MakePixels( "SizeC='3' SizeZ='1' SizeT='1'" ) ), 1, 3 ), "3 1 1" ); // Colours.
    EXPECT_EQ( GetSizes( MakeOME( "" ), 3 ), "1 1 3" );
    EXPECT_EQ( GetSizes( "<other><Pixels SizeC='2'/></other>", 3 ), "1 1 3" );
    const std::string annotations =
        "<StructuredAnnotations><XMLAnnotation><Value><Image><Pixels SizeT='9'/></Image></Value></XMLAnnotation>"
        "</StructuredAnnotations>";
    const auto text = MakeOME(
        MakePixels(
            "SizeX='30' SizeY='40' SizeC='2' SizeT='2' DimensionOrder='XYTCZ' PhysicalSizeX='500' "
            "PhysicalSizeXUnit='nm' PhysicalSizeY='2' TimeIncrement='2' TimeIncrementUnit='min'",
            "<Channel Name='DAPI'/><Channel/><TiffData/><Plane TheT='1' TheC='0' TheZ='0' DeltaT='130'/>" ) +
        MakePixels( "SizeZ='3'" ) + annotations );
    const auto structure = Read( "\xEF\xBB\xBF" + text, 4 + 3 );
    ASSERT_EQ( structure.series.size(), 2u );
    const auto& series = structure.series[0];
    EXPECT_EQ( series.name, "a & b" );
    EXPECT_EQ( series.GetPlane( 1, 0, 0 ).page, 2u ); // Times before channels.
    EXPECT_EQ( structure.series[1].GetPlane( 0, 2, 0 ).page, 6u );
    EXPECT_EQ( series.channelNames, ( std::vector<std::string>{ "DAPI", "" } ) );
    EXPECT_EQ( series.FindChannel( "DAPI" ), 0u );
    EXPECT_FALSE( series.FindChannel( "" ) );
    EXPECT_EQ( std::pair( series.pixelWidth, series.pixelHeight ), std::pair( 0.5, 2.0 ) );
    EXPECT_TRUE( std::isnan( series.GetTime( 0, 0 ) ) );
    EXPECT_EQ( series.GetTime( 0, 1 ), 130 );
}

TEST( XImageStructureTest, FollowsThePlaneMap )
{
    const auto make = []( const std::string& inMap )
    { return MakeOME( MakePixels( "SizeC='2' SizeT='3' DimensionOrder='XYCZT'", inMap ) ); };
    const auto series =
        Read(
            make( "<TiffData IFD='2' PlaneCount='4' FirstT='1'/><TiffData IFD='1' FirstC='0'>"
                  "<UUID FileName='renamed.tif'> urn:own </UUID></TiffData>"
                  "<TiffData IFD='0' FirstC='1'><UUID FileName='own.ome.tif'>urn:x</UUID></TiffData>" ),
            6 )
            .series[0];
    std::string pages;
    for ( std::uint32_t time = 0; time < 3; ++time )
        for ( std::uint32_t channel = 0; channel < 2; ++channel )
            pages += std::to_string( series.GetPlane( channel, 0, time ).page );
    EXPECT_EQ( pages, "102345" );

    const auto all = MakePixels( "SizeT='2'", "<TiffData/>" );
    EXPECT_EQ( GetRefusal( MakeOME( all + all ), 4 ), "its description maps page 0, counted from 0, twice" );
    for (
        const auto& [map, refusal] : std::vector<std::pair<std::string, std::string>>{
            { "<TiffData IFD='0' PlaneCount='5'/>",
              "its description maps 5 pages of a series, but declares 6" },
            { "<TiffData IFD='0' PlaneCount='5'/><TiffData IFD='5'/>",
              "its description maps 5 pages of a series, but declares 6" },
            { "<TiffData IFD='1' PlaneCount='6'/>",
              "its description maps page 6, counted from 0, but it has 6 pages" },
            { "<TiffData IFD='0' PlaneCount='6' FirstT='1'/>",
              "its description maps 8 pages of a series, but declares 6" },
            { "<TiffData FirstC='2'/>",
              "its description maps the channel 2, counted from 0, but declares 2 channels" },
            { "<TiffData IFD='0'><UUID FileName='../other.tif'/></TiffData>",
              "its description names the file \"../other.tif\" of another folder" },
            { "<TiffData IFD='0'><UUID FileName='missing.tif'/></TiffData>",
              "the file missing.tif, which has planes of it, is missing" },
            { "<Plane TheT='3' TheC='0' TheZ='0' DeltaT='1'/>",
              "its description has a plane of slice 0 and time point 3, counted from 0, but declares 1 slice and "
              "3 time points" },
            { "<TiffData IFD='-1'/>",
              "its OME-XML has the invalid IFD \"-1\" (expected a whole number of at most 2147483647)" } } )
        EXPECT_EQ( GetRefusal( make( map ), 6 ), refusal ) << map;
}

TEST( XImageStructureTest, FindsPlanesInOtherFilesOfASet )
{
    const TestFolder folder;
    WImagePage page{ { 30, 40, 1, WImageFormat::kUInt8 }, WImagePage::AllocateFromHeap( 1200 ) };
    std::fill_n( page.samples.get(), 1200, std::byte{ 7 } );
    WFile file( folder / "second.tif", WFile::kCreate );
    XTIFFWriter( file ).WritePage( page );
    file.Close();

    DescribedFile first;
    first.layout = { 30, 40, 1, 1, 1, "8-bit unsigned" };
    const auto map =
        "<TiffData FirstT='0' IFD='0'/><TiffData FirstT='1' IFD='0'><UUID FileName='second.tif'/></TiffData>";
    first.descriptions = { MakeOME( MakePixels( "SizeT='2'", map ) ) };
    const auto structure = XImageStructure::Read( first, folder / "first.tif" );
    ASSERT_EQ( structure.files.size(), 2u );
    EXPECT_EQ( structure.files[1], folder / "second.tif" );
    EXPECT_EQ( structure.series[0].GetPlane( 0, 0, 1 ).file, 1u );
}

TEST( XImageStructureTest, RefusesOMEThatContradictsThePagesOrIsDamaged )
{
    const auto refuse = []( const std::string& inSizes, std::uint32_t inPages, std::uint64_t inSamples = 1 )
    { return GetRefusal( MakeOME( MakePixels( inSizes ) ), inPages, inSamples ); };
    EXPECT_EQ(
        refuse( "SizeC='2'", 1, 3 ), "its description declares 2 channels, but its pixels have 3 samples" );
    EXPECT_EQ( refuse( "SizeT='7'", 1 ), "its description declares 7 time points, but it has 1 page" );
    EXPECT_EQ(
        refuse( "SizeX='30' SizeY='41' SizeT='2'", 2 ),
        "its description declares 30 x 41 pixels, but its pages have 30 x 40 pixels" );
    EXPECT_EQ(
        refuse( "SizeZ='999999999' SizeC='2000000000' SizeT='2000000000'", 3 ),
        "its description declares 1048576 channels (at most 65535)" );
    EXPECT_EQ( refuse( "SizeC='0'", 1 ), "its OME-XML declares the SizeC 0" );
    EXPECT_CONTAINS( refuse( "SizeT='2' DimensionOrder='XYZZT'", 2 ), "dimension order \"XYZZT\"" );
    EXPECT_EQ(
        GetRefusal( MakeOME( "<BinaryOnly MetadataFile='a.companion.ome'/>" ), 3 ),
        "another file describes its pages" );
    EXPECT_EQ( GetRefusal( "<OME><Pixels SizeC='2", 1 ), "its XML description is damaged at line 1" );
    EXPECT_EQ( GetSizes( "<OME><Pixels SizeC='2", 4, 1, true ), "1 1 4" );
    EXPECT_CONTAINS(
        GetRefusal( "<!DOCTYPE x [<!ENTITY a 'b'>]><OME>&a;</OME>", 1 ), "document type definition" );
    std::string nested = "<OME>";
    for ( int i = 0; i < 100000; ++i )
        nested += "<a>";
    EXPECT_EQ( GetRefusal( nested, 1 ), "its XML description is nested too deeply (at most 64 elements)" );
    std::string many = "<OME>";
    for ( std::uint64_t i = 0; i < WXMLReader::kMostMarks; ++i )
        many += '<';
    EXPECT_CONTAINS( GetRefusal( many, 1 ), "has 4000001 tags (at most 4000000)" );
}
