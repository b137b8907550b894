#include "Imaging/XImageReader.h"

#include "HandmadeTIFF.h"
#include "TestFolder.h"
#include "Testing.h"

#include <cmath>

namespace
{
/// A stack of two channels, three slices and two time points in ImageJ's order; each page has two pixels: 10 times its
/// number, and 250 less it. The page `inWide` has another size.
std::string MakeHyperstack( std::uint32_t inWide = 99 )
{
    HandmadeTIFF file( true );
    const std::string text = "ImageJ=1.53t\nimages=12\nchannels=2\nslices=3\nframes=2\nfinterval=4\n";
    const auto description = file.Append( 0, 0 );
    for ( const auto character : text )
        file.Append( static_cast<unsigned char>( character ), 1 );
    std::string bytes;
    for ( std::uint32_t page = 0; page < 12; ++page )
    {
        const auto samples = file.Append( page * 10, 1 );
        file.Append( 250 - page, 1 );
        const auto width = page == inWide ? 1u : 2u;
        HandmadeTIFF::Entries entries{ { 256, 3, 1, width }, { 257, 3, 1, 1 },       { 258, 3, 1, 8 },
                                       { 262, 3, 1, 1 },     { 273, 4, 1, samples }, { 279, 4, 1, width } };
        if ( page == 0 )
            entries.insert(
                entries.begin() + 4, { 270, 2, static_cast<std::uint32_t>( text.size() ), description } );
        bytes = file.Finish( entries );
    }
    return bytes;
}

/// The samples of all selected pages, after the time and slice of each.
std::string ReadAll( const std::filesystem::path& inPath, const XImageSelection& inSelection )
{
    XImageReadSettings settings;
    settings.selection = inSelection;
    XImageReader reader( inPath, settings );
    std::string text;
    for ( std::uint32_t i = 0; i < reader.GetPageCount(); ++i )
    {
        const auto& position = reader.GetPosition( i );
        int allocations = 0;
        const auto page = reader.ReadPage(
            i,
            [&]( std::uint64_t inBytes )
            {
                ++allocations;
                return WImagePage::AllocateFromHeap( inBytes );
            } );
        EXPECT_EQ( allocations, 1 );
        EXPECT_EQ( page.channels, 2u );
        EXPECT_EQ( position.seconds, position.time * 4 );
        text += ( i > 0 ? "; t" : "t" ) + std::to_string( position.time ) + "z" +
            std::to_string( position.slice );
        VisitSampleType(
            page.type,
            [&]<class T>( std::type_identity<T> )
            {
                for ( std::uint64_t sample = 0; sample < page.GetSampleCount(); ++sample )
                    text += " " + std::to_string( std::lround( page.GetSamples<T>()[sample] ) );
            } );
    }
    return text;
}
} // namespace

TEST( XImageReaderTest, PutsChannelsTogetherAndSelects )
{
    const TestFolder folder;
    const auto path = folder.Write( "stack.tif", MakeHyperstack() );
    EXPECT_EQ(
        ReadAll( path, {} ),
        "t0z0 0 10 250 249; t0z1 20 30 248 247; t0z2 40 50 246 245; "
        "t1z0 60 70 244 243; t1z1 80 90 242 241; t1z2 100 110 240 239" );
    EXPECT_EQ( ReadAll( path, { .firstTime = 1, .slice = 2 } ), "t1z2 100 110 240 239" );
    EXPECT_EQ( ReadAll( path, { .lastTime = 0, .sliceMode = XSliceMode::kMaximum } ), "t0z0 40 50 250 249" );
    EXPECT_EQ(
        ReadAll( path, { .sliceMode = XSliceMode::kMean } ), "t0z0 20 30 248 247; t1z0 80 90 242 241" );
    // Beyond the samples' own type.
    EXPECT_EQ(
        ReadAll( path, { .series = 0, .firstTime = 1, .sliceMode = XSliceMode::kSum } ),
        "t1z0 240 270 726 723" );

    const auto refuse = [&]( const XImageSelection& inSelection )
    { return TextOfError( [&] { ReadAll( path, inSelection ); } ); };
    EXPECT_EQ( refuse( { .series = 1 } ), "it has no series 1: it has 1, counted from 0" );
    EXPECT_EQ( refuse( { .firstTime = 2 } ), "it has no time point 2: it has 2, counted from 0" );
    EXPECT_EQ( refuse( { .slice = 3 } ), "it has no slice 3: it has 3, counted from 0" );
}

TEST( XImageReaderTest, RefusesToPutPagesOfSeveralSizesTogether )
{
    const TestFolder folder;
    const auto path = folder.Write( "stack.tif", MakeHyperstack( 3 ) );
    for ( const auto mode : { XSliceMode::kEach, XSliceMode::kSum } )
        EXPECT_NE( TextOfError( [&] { ReadAll( path, { .sliceMode = mode } ); } ), "" );
}
