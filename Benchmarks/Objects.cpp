// Steps of segmentation on a page of 2048 x 2048 pixels of 16 bits beside OpenCV on one thread. Its nearest equivalents
// are a median of a square instead of a disc, of 5 x 5 pixels in 16 bits or 7 x 7 in 8, a top-hat with a filled
// ellipse, and a watershed of a picture of 8 bits from markers above a threshold of the distance. Peers/objects.py times the same steps of scikit-image; its figures, processor time, are printed first.

#include "Imaging/Filters/XDiscMorphology.h"
#include "Imaging/Filters/XGaussianFilter.h"
#include "Imaging/Filters/XMedianFilter.h"
#include "Imaging/Measurements/XShapeMeasurement.h"
#include "Imaging/Objects/XDistanceTransform.h"
#include "Imaging/Objects/XMaskMorphology.h"
#include "Imaging/Objects/XObjectSplitting.h"
#include "Imaging/Thresholds/XAutomaticThreshold.h"
#include "Imaging/Thresholds/XLocalThreshold.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "Startup/WInitCore.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace
{
constexpr std::uint32_t kSide = 2048;

/// Bright squares on a slope with noise.
WImagePage MakePage()
{
    WImagePage page;
    page.width = page.height = kSide;
    page.channels = 1;
    page.type = WImageFormat::kUInt16;
    page.Allocate( std::numeric_limits<std::uint64_t>::max() );
    std::mt19937 random( 1 );
    std::normal_distribution<double> noise( 2000, 300 );
    auto* const samples = page.GetSamples<std::uint16_t>();
    for ( std::uint32_t y = 0; y < kSide; ++y )
        for ( std::uint32_t x = 0; x < kSide; ++x )
        {
            const auto object = x / 40 % 2 != 0 && y / 40 % 2 != 0 ? 6000 : 0;
            samples[std::size_t{ y } * kSide + x] =
                static_cast<std::uint16_t>( std::max( noise( random ), 0.0 ) + y + object );
        }
    return page;
}

const WImagePage& GetPage()
{
    static const auto sPage = MakePage();
    return sPage;
}

cv::Mat GetMatrix()
{
    return cv::Mat( kSide, kSide, CV_16U, const_cast<std::byte*>( GetPage().samples.get() ) );
}

template<class TWork>
void Add( const std::string& inName, TWork inWork )
{
    benchmark::RegisterBenchmark(
        inName.c_str(),
        [inWork]( benchmark::State& ioState )
        {
            for ( auto _ : ioState )
                inWork();
        } )
        ->Unit( benchmark::kMillisecond );
}

void AddFilters()
{
    const auto& page = GetPage();
    for ( const int sigma : { 2, 20 } )
    {
        Add( "Gaussian/" + std::to_string( sigma ) + "/Korvale",
             [&page, sigma] { XSmoothChannel( page, 0, sigma ); } );
        const auto blur = [sigma]
        {
            cv::Mat result;
            cv::GaussianBlur( GetMatrix(), result, { 0, 0 }, sigma, sigma, cv::BORDER_REPLICATE );
        };
        Add( "Gaussian/" + std::to_string( sigma ) + "/OpenCV", blur );
    }
    for ( const std::uint32_t radius : { 1u, 2u, 3u, 4u, 5u, 10u } )
        Add( "Median/" + std::to_string( radius ) + "/Korvale",
             [&page, radius] { XFilterMedian( page, 0, radius ); } );
    Add( "Median/5x5/OpenCV",
         []
         {
             cv::Mat result;
             cv::medianBlur( GetMatrix(), result, 5 );
         } );
    const auto medianOfBytes = []
    {
        cv::Mat bytes, result;
        GetMatrix().convertTo( bytes, CV_8U, 1.0 / 64 );
        cv::medianBlur( bytes, result, 7 );
    };
    Add( "Median/7x7 of bytes/OpenCV", medianOfBytes );
    Add( "TopHat/25/Korvale", [&page] { XTopHatChannel( page, 0, 25 ); } );
    const auto topHat = []
    {
        cv::Mat result;
        cv::morphologyEx(
            GetMatrix(), result, cv::MORPH_TOPHAT,
            cv::getStructuringElement( cv::MORPH_ELLIPSE, { 51, 51 } ) );
    };
    Add( "TopHat/25/OpenCV", topHat );
}

void AddThresholds()
{
    using enum XThresholdMethod;
    const auto& page = GetPage();
    static const auto sFloats = XSmoothChannel( page, 0, 2 );
    const std::pair<std::string, XThresholdMethod> methods[] = {
        { "otsu", kOtsu }, { "li", kLi },           { "triangle", kTriangle },
        { "yen", kYen },   { "isodata", kIsodata }, { "multiotsu", kMultiOtsu } };
    for ( const auto& [name, method] : methods )
        for ( const auto* image : { &page, &sFloats } )
            Add( "Threshold/" + name + ( image == &page ? "/16 bits" : "/float" ) + "/Korvale",
                 [image, chosen = method] { XGetAutomaticThreshold( *image, 0, { .method = chosen } ); } );
    Add( "Threshold/local:35/Korvale",
         [&page] { XMarkLocally( page, 0, { .method = kLocal, .size = 35 }, 32767.5 ); } );
    Add( "Threshold/sauvola:25/Korvale",
         [&page] { XMarkLocally( page, 0, { .method = kSauvola, .size = 25 }, 32767.5 ); } );
    Add( "Clean/open 3, fill/Korvale",
         [&page] { XCleanMask( XMarkPixels( page, 0, 6000 ), { .openRadius = 3, .fillsHoles = true } ); } );
}

/// A mask of 1024 pairs of overlapping discs.
WImagePage MakePairs()
{
    constexpr int kCell = 64, kRadius = 14, kShift = 10;
    WImagePage page;
    page.width = page.height = kSide;
    page.channels = 1;
    page.Allocate( std::numeric_limits<std::uint64_t>::max() );
    for ( std::uint32_t i = 0; i < kSide * kSide; ++i )
    {
        const auto x = static_cast<int>( i % kSide % kCell ) - kCell / 2;
        const auto y = static_cast<int>( i / kSide % kCell ) - kCell / 2;
        const auto isInside = [&]( int inX )
        { return ( x - inX ) * ( x - inX ) + y * y <= kRadius * kRadius; };
        page.GetSamples<std::uint8_t>()[i] = isInside( -kShift ) || isInside( kShift ) ? 255 : 0;
    }
    return page;
}

void SplitWithOpenCV( const cv::Mat& inMask, cv::Mat& outDistance )
{
    cv::distanceTransform( inMask, outDistance, cv::DIST_L2, cv::DIST_MASK_PRECISE );
    cv::Mat peaks, markers, relief, picture;
    cv::threshold( outDistance, peaks, 11, 255, cv::THRESH_BINARY );
    peaks.convertTo( peaks, CV_8U );
    cv::connectedComponents( peaks, markers );
    // Labels of objects count from 2, that of the background is 1, and 0 is to be flooded.
    markers += 1;
    markers.setTo( 0, inMask & ~peaks );
    outDistance.convertTo( relief, CV_8U, -10, 255 );
    cv::cvtColor( relief, picture, cv::COLOR_GRAY2BGR );
    cv::watershed( picture, markers );
}

void AddSplitting()
{
    static const auto sPairs = MakePairs();
    static const auto sMask = XMarkPixels( sPairs, 0, 0 );
    static const cv::Mat sMatrix( kSide, kSide, CV_8U, const_cast<std::byte*>( sPairs.samples.get() ) );
    Add( "Distance/Korvale", [] { XGetDistances( sMask ); } );
    const auto transform = []
    {
        cv::Mat distance;
        cv::distanceTransform( sMatrix, distance, cv::DIST_L2, cv::DIST_MASK_PRECISE );
    };
    Add( "Distance/OpenCV", transform );
    const auto split = []
    {
        const auto components = XFindConnectedComponents( sMask, XConnectivity::kEdges );
        const auto parts = XSplitByDistance( components, sPairs, XConnectivity::kEdges, 1 );
        if ( parts.shapes.size() != 2048 )
            throw std::logic_error( "not all pairs are split" );
    };
    Add( "Split/distance, 2048 objects/Korvale", split );
    Add( "Split/distance, 2048 objects/OpenCV",
         []
         {
             cv::Mat distance;
             SplitWithOpenCV( sMatrix, distance );
         } );
}

/// A page of 5329 ellipses of several sizes.
WImagePage MakeEllipses()
{
    constexpr int kCell = 28;
    WImagePage page;
    page.width = page.height = kSide;
    page.channels = 1;
    page.Allocate( std::numeric_limits<std::uint64_t>::max() );
    for ( std::uint32_t i = 0; i < kSide * kSide; ++i )
    {
        const auto column = static_cast<int>( i % kSide ), row = static_cast<int>( i / kSide );
        const auto x = column % kCell - kCell / 2, y = row % kCell - kCell / 2;
        const auto size = 5 + ( column / kCell + row / kCell ) % 7;
        const auto isComplete = std::max( column, row ) / kCell < 73;
        page.GetSamples<std::uint8_t>()[i] = isComplete && x * x + 2 * y * y <= size * size ? 255 : 0;
    }
    return page;
}

void AddShapes()
{
    static const auto sObjects = XFindObjects( MakeEllipses(), 0, 0, XConnectivity::kEdges );
    Add( "Shape/" + std::to_string( sObjects.shapes.size() ) + " objects/Korvale",
         [] { XMeasureShapes( sObjects ); } );
}

/// Runs the peer that is a script, on the same page.
void RunScript()
{
    const auto path = std::filesystem::temp_directory_path() /
        ( "korvale-bench-" + std::to_string( std::random_device()() ) + ".tif" );
    {
        WFile file( path, WFile::kCreate );
        XTIFFWriter( file ).WritePage( GetPage() );
    }
    const auto command = std::string( "/usr/bin/python3 " KORVALE_PEERS_DIR "/objects.py " ) + path.string();
    if ( std::system( command.c_str() ) != 0 )
        std::fputs( "no scikit-image\n", stderr );
    std::filesystem::remove( path );
}
} // namespace

int main( int inCount, char** inArguments )
{
    const WInitCore core;
    benchmark::Initialize( &inCount, inArguments );
    cv::setNumThreads( 1 );
    AddFilters();
    AddThresholds();
    AddSplitting();
    AddShapes();
    RunScript();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
