// Finding and measuring objects: the labelling beside OpenCV's, on planes of round objects and of noise; and the whole
// command, from a file of 64 pages to a CSV file, beside itself with one worker and a script on scikit-image.

#include "Imaging/Objects/XConnectedComponents.h"
#include "Program/Program.h"
#include "Startup/WInitCore.h"

#include "Images/WImageFile.h"
#include "Imaging/Thresholds/XOtsuThreshold.h"
#include "Imaging/Writing/XSyntheticStack.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "Threads/XThread.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

namespace
{

constexpr std::uint32_t kSide = 1024;
constexpr std::uint32_t kPages = 64;

enum Plane
{
    kObjects,
    kSparseNoise, ///< One pixel in ten.
    kDenseNoise   ///< Every second pixel.
};

XSyntheticStackSettings GetSettings()
{
    XSyntheticStackSettings settings;
    settings.planes = kPages;
    settings.width = settings.height = kSide;
    settings.objects = 200;
    return settings;
}

WImagePage MakePlane( int inPlane )
{
    auto page = XSyntheticStack( GetSettings() ).DrawPlane();
    if ( inPlane == kObjects )
        return page;
    std::mt19937 random( 1 );
    auto* const samples = reinterpret_cast<std::uint16_t*>( page.samples.get() );
    for ( std::uint32_t i = 0; i < kSide * kSide; ++i )
        samples[i] = random() % ( inPlane == kDenseNoise ? 2 : 10 ) == 0 ? 60000 : 100;
    return page;
}

/// The plane as 8-bit mask, 0 or 255, which is what the peer takes.
WImagePage MakeMask( int inPlane )
{
    const auto plane = MakePlane( inPlane );
    const auto threshold = XGetOtsuThreshold( plane, 0 );
    WImagePage mask;
    mask.width = mask.height = kSide;
    mask.channels = 1;
    mask.Allocate( kSide * kSide );
    for ( std::uint32_t i = 0; i < kSide * kSide; ++i )
        mask.samples[i] =
            plane.GetSamples<std::uint16_t>()[i] > threshold ? std::byte{ 255 } : std::byte{ 0 };
    return mask;
}

// ---- Labelling alone, with area, bounding box and centroid of every object

void LabelOurs( benchmark::State& ioState )
{
    const auto mask = MakeMask( static_cast<int>( ioState.range( 0 ) ) );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( XFindObjects( mask, 0, 0, XConnectivity::kEdgesAndCorners ).shapes.size() );
}

/// From the samples themselves: the threshold is applied on the way.
void LabelOursFromSamples( benchmark::State& ioState )
{
    const auto plane = MakePlane( static_cast<int>( ioState.range( 0 ) ) );
    const auto threshold = XGetOtsuThreshold( plane, 0 );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize(
            XFindObjects( plane, 0, threshold, XConnectivity::kEdgesAndCorners ).shapes.size() );
}

void LabelOpenCV( benchmark::State& ioState )
{
    auto mask = MakeMask( static_cast<int>( ioState.range( 0 ) ) );
    const cv::Mat image( kSide, kSide, CV_8U, mask.samples.get() );
    const auto threads = cv::getNumThreads();
    cv::setNumThreads( static_cast<int>( ioState.range( 1 ) ) );
    cv::Mat labels, stats, centroids;
    for ( auto _ : ioState )
        benchmark::DoNotOptimize(
            cv::connectedComponentsWithStats( image, labels, stats, centroids, 8, CV_32S ) );
    cv::setNumThreads( threads );
}

// ---- The whole command

/// A stack on the disk, made once and removed at the end.
class StackFile
{
public:
    StackFile()
        : itsFolder(
              std::filesystem::temp_directory_path() /
              ( "korvale-bench-" + std::to_string( std::random_device()() ) ) )
    {
        std::filesystem::create_directories( itsFolder );
        WFile file( GetStack(), WFile::kCreate );
        XTIFFWriter writer( file );
        XSyntheticStack stack( GetSettings() );
        for ( std::uint32_t page = 0; page < kPages; ++page )
            writer.WritePage( stack.DrawPlane() );
    }
    ~StackFile() { std::filesystem::remove_all( itsFolder ); }

    std::string GetStack() const { return ( itsFolder / "stack.tif" ).string(); }
    std::string GetOutput() const { return ( itsFolder / "out.csv" ).string(); }

    static const StackFile& Get()
    {
        static const StackFile file;
        return file;
    }

private:
    std::filesystem::path itsFolder;
};

/// With so many workers.
void MeasureOurs( benchmark::State& ioState )
{
    const auto& file = StackFile::Get();
    const auto workers = std::to_string( ioState.range( 0 ) );
    for ( auto _ : ioState )
    {
        std::ostringstream out, error;
        Terminal terminal{ out, error };
        if ( RunProgram(
                 { "measure", file.GetStack(), "--csv", file.GetOutput(), "--workers", workers },
                 terminal ) != 0 )
            ioState.SkipWithError( error.str().c_str() );
    }
}

double RunScript()
{
    const auto& file = StackFile::Get();
    const auto command =
        "/usr/bin/python3 " KORVALE_PEERS_DIR "/measure.py " + file.GetStack() + " " + file.GetOutput();
    const std::unique_ptr<FILE, int ( * )( FILE* )> pipe( popen( command.c_str(), "r" ), pclose );
    double seconds = 0;
    if ( !pipe || std::fscanf( pipe.get(), "%lf", &seconds ) != 1 )
        throw std::runtime_error( "the script failed" );
    return seconds;
}

/// It takes so long that it runs once, however many repetitions are asked for.
void MeasureWithScript( benchmark::State& ioState )
{
    static const auto seconds = RunScript();
    for ( auto _ : ioState )
        ioState.SetIterationTime( seconds );
}

constexpr std::array kNames{ "objects", "sparse noise", "dense noise" };

void RegisterAll()
{
    for ( const auto plane : { kObjects, kSparseNoise, kDenseNoise } )
    {
        const auto name = std::string( "label 1024 x 1024, " ) + kNames[plane];
        const auto add =
            [&]( const std::string& inWho, auto inBenchmark, std::vector<std::int64_t> inArguments )
        { benchmark::RegisterBenchmark( ( name + "/" + inWho ).c_str(), inBenchmark )->Args( inArguments ); };
        add( "korvale", LabelOurs, { plane } );
        add( "korvale, from 16-bit samples", LabelOursFromSamples, { plane } );
        add( "OpenCV, one thread", LabelOpenCV, { plane, 1 } );
        add( "OpenCV, all threads", LabelOpenCV, { plane, -1 } );
    }
    const auto addMeasure = []( const char* inWho, std::uint32_t inWorkers )
    {
        const auto name = std::string( "measure 64 pages of 1024 x 1024/" ) + inWho;
        benchmark::RegisterBenchmark( name.c_str(), MeasureOurs )
            ->Arg( inWorkers )
            ->Unit( benchmark::kMillisecond )
            ->UseRealTime();
    };
    addMeasure( "korvale", XThread::GetProcessorCount() );
    addMeasure( "korvale, one worker", 1 );
    benchmark::RegisterBenchmark( "measure 64 pages of 1024 x 1024/scikit-image", MeasureWithScript )
        ->Unit( benchmark::kMillisecond )
        ->UseManualTime()
        ->Iterations( 1 );
}

} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    RegisterAll();
    benchmark::Initialize( &inArgCount, inArgs );
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
