#include "Imaging/XImageStructure.h"

#include "Imaging/Internal/XImageDescription.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>

// A description is compared with the file before anything is taken from it: the numbers of pages, their sizes, and the
// range of every index. Measuring slices or channels as if they were time points gives wrong results without a sign of
// it, so what does not agree is refused, with both numbers.
//
// Nothing is allocated for declared planes before there are as many pages: a plane map must name each plane once.

namespace
{
std::string Count( std::uint64_t inCount, const std::string& inWhat )
{
    return std::to_string( inCount ) + " " + inWhat + ( inCount == 1 ? "" : "s" );
}

/// Such as "2 channels, 5 slices and 3 time points".
std::string DescribeDeclared( const XImageDescription& inDescription, std::uint64_t inTotal )
{
    std::vector<std::string> parts;
    const auto add = [&]( std::uint64_t inCount, const char* inWhat )
    {
        if ( inCount > 1 )
            parts.push_back( Count( inCount, inWhat ) );
    };
    const auto& series = inDescription.series.front();
    add( inDescription.series.size(), "image" );
    add( series.channels, "channel" );
    add( series.slices, "slice" );
    // An array without names, and a bare number of images, declare planes.
    if ( inDescription.unnamed == 0 )
        add( series.times, "time point" );
    if ( parts.empty() )
        return Count( inTotal, "plane" );
    auto text = parts.front();
    for ( std::size_t i = 1; i < parts.size(); ++i )
        text += ( i + 1 < parts.size() ? ", " : " and " ) + parts[i];
    return text;
}

std::string DescribeSize( std::uint64_t inWidth, std::uint64_t inHeight )
{
    return std::to_string( inWidth ) + " x " + std::to_string( inHeight ) + " pixels";
}

std::string ToText( const std::filesystem::path& inPath )
{
    const auto text = inPath.u8string();
    return std::string( text.begin(), text.end() );
}

[[noreturn]] void ThrowWrongMap( std::uint64_t inMapped, std::uint64_t inDeclared )
{
    throw XNotTimePointsError(
        "its description maps " + Count( inMapped, "page" ) + " of a series, but declares " +
        std::to_string( inDeclared ) );
}

/// A file that contains pages of the image.
struct SourceFile
{
    std::uint32_t pages = 0;
    std::vector<bool> areMapped;            // of the pages
    std::vector<std::uint32_t> directories; // of the pages; empty if they are the same

    explicit SourceFile( const WImageFile& inFile );

    /// Without a value if there is no such page.
    std::optional<std::uint32_t> FindPage( std::uint64_t inDirectory ) const;
};

SourceFile::SourceFile( const WImageFile& inFile )
    : pages( inFile.GetPageCount() ), areMapped( inFile.GetPageCount() )
{
    if ( inFile.GetSkippedCount() == 0 )
        return;
    directories.resize( pages );
    for ( std::uint32_t page = 0; page < pages; ++page )
        directories[page] = inFile.GetDirectoryIndex( page );
}

std::optional<std::uint32_t> SourceFile::FindPage( std::uint64_t inDirectory ) const
{
    if ( directories.empty() )
        return inDirectory < pages ? std::optional( static_cast<std::uint32_t>( inDirectory ) )
                                   : std::nullopt;
    const auto found = std::ranges::lower_bound( directories, inDirectory );
    if ( found == directories.end() || *found != inDirectory )
        return std::nullopt;
    return static_cast<std::uint32_t>( found - directories.begin() );
}

void SetChannelNames( const XDeclaredSeries& inDeclared, XImageSeries& ioSeries )
{
    const auto hasName = []( const std::string& inName ) { return !inName.empty(); };
    if ( ioSeries.channelsPerPage > 1 || std::ranges::none_of( inDeclared.channelNames, hasName ) )
        return;
    ioSeries.channelNames = inDeclared.channelNames;
    ioSeries.channelNames.resize( ioSeries.channels );
}

void SetCalibration( const XDeclaredSeries& inDeclared, XImageSource inSource, XImageSeries& ioSeries )
{
    if ( inDeclared.pixelWidth > 0 && inDeclared.pixelHeight > 0 )
    {
        ioSeries.pixelWidth = inDeclared.pixelWidth;
        ioSeries.pixelHeight = inDeclared.pixelHeight;
        ioSeries.pixelSource = inSource;
    }
    ioSeries.sliceSpacing = inDeclared.sliceSpacing;
    ioSeries.sliceSource = inDeclared.sliceSpacing > 0 ? inSource : XImageSource::kNone;
    ioSeries.timeInterval = inDeclared.timeInterval;
    ioSeries.timeSource = inDeclared.timeInterval > 0 ? inSource : XImageSource::kNone;
}

void SetPlaneTimes( const XDeclaredSeries& inDeclared, XImageSeries& ioSeries )
{
    for ( const auto& plane : inDeclared.planeTimes )
    {
        if ( plane.slice >= ioSeries.slices || plane.time >= ioSeries.times )
            throw XNotTimePointsError(
                "its description has a plane of slice " + std::to_string( plane.slice ) + " and time point " +
                std::to_string( plane.time ) + ", counted from 0, but declares " +
                Count( ioSeries.slices, "slice" ) + " and " + Count( ioSeries.times, "time point" ) );
        if ( plane.channel != 0 )
            continue;
        if ( ioSeries.planeTimes.empty() )
            ioSeries.planeTimes.assign(
                std::size_t{ ioSeries.slices } * ioSeries.times, std::numeric_limits<double>::quiet_NaN() );
        ioSeries.planeTimes[plane.time * ioSeries.slices + plane.slice] = plane.seconds;
        if ( ioSeries.timeSource == XImageSource::kNone )
            ioSeries.timeSource = XImageSource::kOME;
    }
}

/// The layout of a series' pages, from its first page.
XImageSeries MakeSeries( const WImageFile::Layout& inLayout )
{
    XImageSeries series;
    series.width = inLayout.width;
    series.height = inLayout.height;
    // A page without samples is refused when it is read.
    series.channelsPerPage =
        static_cast<std::uint32_t>( std::clamp<std::uint64_t>( inLayout.channels, 1, 65535 ) );
    series.channels = series.channelsPerPage;
    series.sampleType = inLayout.sampleType;
    if ( inLayout.pixelWidth > 0 && inLayout.pixelHeight > 0 )
    {
        series.pixelWidth = inLayout.pixelWidth;
        series.pixelHeight = inLayout.pixelHeight;
        series.pixelSource = XImageSource::kResolution;
    }
    return series;
}

/// The order of the pages of a series in a plane map.
class PageOrder
{
public:
    PageOrder( std::string_view inOrder, const XImageSeries& inSeries );
    std::uint64_t GetPageCount() const { return itsPageCount; }

    /// The position of a block's first page in this order.
    std::uint64_t GetFirst( const XPageBlock& inBlock ) const;

    /// The number of pages in a block; throws if they are not within the series.
    std::uint64_t GetCount( const XPageBlock& inBlock ) const;

    /// The index into XImageSeries::pages of a position in this order.
    std::size_t GetIndex( std::uint64_t inPosition ) const;

private:
    struct Axis
    {
        std::uint64_t size = 1;
        std::uint64_t step = 1; // in this order
    };
    Axis itsChannels, itsSlices, itsTimes;
    std::uint64_t itsPageCount = 1;
};

PageOrder::PageOrder( std::string_view inOrder, const XImageSeries& inSeries )
{
    itsChannels.size = inSeries.GetPagesPerPlane();
    itsSlices.size = inSeries.slices;
    itsTimes.size = inSeries.times;
    for ( const auto letter : inOrder )
    {
        auto& axis = letter == 'C' ? itsChannels : letter == 'Z' ? itsSlices : itsTimes;
        axis.step = itsPageCount;
        itsPageCount *= axis.size;
    }
}

std::uint64_t PageOrder::GetFirst( const XPageBlock& inBlock ) const
{
    const auto check = []( std::uint64_t inIndex, const Axis& inAxis, const char* inName )
    {
        if ( inIndex >= inAxis.size )
            throw XNotTimePointsError(
                std::string( "its description maps the " ) + inName + " " + std::to_string( inIndex ) +
                ", counted from 0, but declares " + Count( inAxis.size, inName ) );
        return inIndex * inAxis.step;
    };
    return check( inBlock.firstChannel, itsChannels, "channel" ) +
        check( inBlock.firstSlice, itsSlices, "slice" ) + check( inBlock.firstTime, itsTimes, "time point" );
}

std::uint64_t PageOrder::GetCount( const XPageBlock& inBlock ) const
{
    const auto rest = itsPageCount - GetFirst( inBlock );
    const auto count = inBlock.count.value_or( rest );
    if ( count > rest )
        ThrowWrongMap( GetFirst( inBlock ) + count, itsPageCount );
    return count;
}

std::size_t PageOrder::GetIndex( std::uint64_t inPosition ) const
{
    const auto get = [&]( const Axis& inAxis ) { return inPosition / inAxis.step % inAxis.size; };
    return ( get( itsTimes ) * itsSlices.size + get( itsSlices ) ) * itsChannels.size + get( itsChannels );
}

/// True if the description has neither channels nor slices.
bool HasOnlyTimes( const XImageDescription& inDescription )
{
    return inDescription.series.size() == 1 && inDescription.series[0].channels == 1 &&
        inDescription.series[0].slices == 1 && inDescription.dimensions <= 1;
}

/// Each page is a time point.
XImageStructure MakePages( const WImageFile& inFile, const std::filesystem::path& inPath )
{
    XImageStructure structure;
    structure.files = { inPath };
    auto& series = structure.series.emplace_back( MakeSeries( inFile.GetLayout() ) );
    series.times = inFile.GetPageCount();
    series.pages.resize( series.times );
    for ( std::uint32_t page = 0; page < series.times; ++page )
        series.pages[page].page = page;
    return structure;
}

/// The message of a failure names the file.
std::unique_ptr<WImageFile> OpenOfSet( const std::filesystem::path& inPath, const std::string& inName )
{
    try
    {
        return WImageFile::Open( inPath );
    }
    catch ( const WImageError& error )
    {
        throw XNotTimePointsError(
            "the file " + inName + ", which has planes of it, cannot be read: " + error.what() );
    }
}

/// Compares a description with the file and assigns its pages.
class StructureBuilder
{
public:
    StructureBuilder(
        const WImageFile& inFile, const std::filesystem::path& inPath,
        const XImageDescription& inDescription );

    XImageStructure Build();

private:
    const WImageFile& itsFile;
    const XImageDescription& itsDescription;
    XImageStructure itsStructure;
    std::vector<SourceFile> itsFiles;
    std::map<std::string, std::uint32_t> itsFileIndices; // by name
    std::uint32_t itsNextPage = 0;                       // of a series without a plane map

    void CheckDimensions() const;
    void CheckTotal( std::uint64_t inTotal ) const;
    XImageSeries MakeSeriesOf( const XDeclaredSeries& inDeclared );
    XPagePlace FindPlace( const XPageBlock& inBlock, std::uint64_t inPage );
    XPagePlace Map( const XPagePlace& inPlace );
    std::uint32_t FindFile( const std::string& inName );
    std::uint32_t OpenFile( const std::string& inName );
    void MapPages( const XDeclaredSeries& inDeclared, XImageSeries& ioSeries );
};

StructureBuilder::StructureBuilder(
    const WImageFile& inFile, const std::filesystem::path& inPath, const XImageDescription& inDescription )
    : itsFile( inFile ), itsDescription( inDescription )
{
    itsStructure.source = inDescription.source;
    itsStructure.files = { inPath };
    itsFiles.emplace_back( inFile );
    itsFileIndices = { { "", 0 }, { ToText( inPath.filename() ), 0 } };
}

XImageStructure StructureBuilder::Build()
{
    CheckDimensions();
    std::uint64_t total = 0;
    for ( const auto& declared : itsDescription.series )
    {
        const auto& series = itsStructure.series.emplace_back( MakeSeriesOf( declared ) );
        total += std::uint64_t{ series.GetPagesPerPlane() } * series.slices * series.times;
    }
    CheckTotal( total );
    itsNextPage = 0;
    for ( std::size_t i = 0; i < itsStructure.series.size(); ++i )
    {
        auto& series = itsStructure.series[i];
        MapPages( itsDescription.series[i], series );
        SetPlaneTimes( itsDescription.series[i], series );
    }
    return std::move( itsStructure );
}

void StructureBuilder::CheckDimensions() const
{
    if ( itsDescription.areElsewhere )
        throw XNotTimePointsError( "another file describes its pages" );
    if ( itsDescription.unnamed > 0 && itsDescription.dimensions > 1 )
        throw XNotTimePointsError(
            "its description declares " + Count( itsDescription.total, "plane" ) + " in " +
            Count( itsDescription.dimensions, "dimension" ) +
            " that are not channels, slices and time points" );
}

/// Pages of a set are compared with its plane map alone.
void StructureBuilder::CheckTotal( std::uint64_t inTotal ) const
{
    const auto declares = "its description declares " + DescribeDeclared( itsDescription, inTotal );
    if ( itsDescription.total > 0 && itsDescription.total != inTotal )
        throw XNotTimePointsError( declares + ", but " + Count( itsDescription.total, "plane" ) );
    const std::uint64_t pages = itsFiles.front().pages;
    if ( itsFiles.size() == 1 && inTotal != pages )
        throw XNotTimePointsError( declares + ", but it has " + Count( pages, "page" ) );
}

XImageSeries StructureBuilder::MakeSeriesOf( const XDeclaredSeries& inDeclared )
{
    XPagePlace first{ 0, itsNextPage };
    // Files are known before the totals are compared.
    for ( const auto& block : inDeclared.blocks )
        FindFile( block.file );
    if ( !inDeclared.blocks.empty() )
        first = FindPlace( inDeclared.blocks.front(), 0 );
    else if ( itsNextPage >= itsFiles.front().pages )
        throw XNotTimePointsError(
            "its description declares " + DescribeDeclared( itsDescription, itsDescription.total ) +
            ", but it has " + Count( itsFiles.front().pages, "page" ) );
    const auto layout = first.file == 0
        ? itsFile.GetLayout( first.page )
        : WImageFile::Open( itsStructure.files[first.file] )->GetLayout( first.page );

    auto series = MakeSeries( layout );
    series.name = inDeclared.name;
    if ( ( inDeclared.width != 0 && inDeclared.width != layout.width ) ||
         ( inDeclared.height != 0 && inDeclared.height != layout.height ) )
        throw XNotTimePointsError(
            "its description declares " + DescribeSize( inDeclared.width, inDeclared.height ) +
            ", but its pages have " + DescribeSize( layout.width, layout.height ) );
    // One declared channel may be one of colours.
    const auto samples = itsDescription.countsSamples && inDeclared.channels > 1 ? layout.samplesPerPixel : 1;
    if ( samples == 0 || inDeclared.channels % samples != 0 )
        throw XNotTimePointsError(
            "its description declares " + Count( inDeclared.channels, "channel" ) + ", but its pixels have " +
            Count( samples, "sample" ) );
    const auto channels = inDeclared.channels / samples * series.channelsPerPage;
    constexpr std::uint64_t kMostChannels = 65535;
    if ( channels > kMostChannels )
        throw XNotTimePointsError(
            "its description declares " + Count( channels, "channel" ) + " (at most " +
            std::to_string( kMostChannels ) + ")" );
    series.channels = static_cast<std::uint32_t>( channels );
    series.slices = static_cast<std::uint32_t>( inDeclared.slices );
    series.times = static_cast<std::uint32_t>( inDeclared.times );
    const auto pages = std::uint64_t{ series.GetPagesPerPlane() } * series.slices * series.times;
    itsNextPage += static_cast<std::uint32_t>( std::min<std::uint64_t>( pages, UINT32_MAX - itsNextPage ) );
    SetChannelNames( inDeclared, series );
    SetCalibration( inDeclared, itsDescription.source, series );
    return series;
}

XPagePlace StructureBuilder::FindPlace( const XPageBlock& inBlock, std::uint64_t inPage )
{
    const auto file = FindFile( inBlock.file );
    const auto directory = inBlock.firstDirectory + inPage;
    const auto page = itsFiles[file].FindPage( directory );
    if ( !page )
        throw XNotTimePointsError(
            "its description maps page " + std::to_string( directory ) + ", counted from 0, " +
            ( file == 0 ? "but it has " : "but " + inBlock.file + " has " ) +
            Count( itsFiles[file].pages, "page" ) );
    return { file, *page };
}

/// A page is a plane of one series only.
XPagePlace StructureBuilder::Map( const XPagePlace& inPlace )
{
    auto& file = itsFiles[inPlace.file];
    if ( inPlace.page >= file.pages || file.areMapped[inPlace.page] )
        throw XNotTimePointsError(
            "its description maps page " + std::to_string( inPlace.page ) + ", counted from 0, " +
            ( inPlace.page < file.pages ? std::string( "twice" )
                                        : "but it has " + Count( file.pages, "page" ) ) );
    file.areMapped[inPlace.page] = true;
    return inPlace;
}

std::uint32_t StructureBuilder::FindFile( const std::string& inName )
{
    const auto found = itsFileIndices.find( inName );
    return found == itsFileIndices.end() ? OpenFile( inName ) : found->second;
}

/// Only files of the same folder: a description must not lead anywhere else.
std::uint32_t StructureBuilder::OpenFile( const std::string& inName )
{
    const std::filesystem::path name( std::u8string( inName.begin(), inName.end() ) );
    if ( inName.find_first_of( "/\\:" ) != inName.npos || name.filename() != name || inName == ".." )
        throw XNotTimePointsError( "its description names the file \"" + inName + "\" of another folder" );
    const auto path = itsStructure.files.front().parent_path() / name;
    std::error_code error;
    if ( !std::filesystem::is_regular_file( path, error ) )
        throw XNotTimePointsError( "the file " + inName + ", which has planes of it, is missing" );
    const auto file = OpenOfSet( path, inName );
    const auto index = static_cast<std::uint32_t>( itsFiles.size() );
    itsFiles.emplace_back( *file );
    itsStructure.files.push_back( path );
    itsFileIndices.emplace( inName, index );
    return index;
}

/// Each plane must be mapped once. Counts are compared before memory is allocated for the planes.
void StructureBuilder::MapPages( const XDeclaredSeries& inDeclared, XImageSeries& ioSeries )
{
    const PageOrder order( inDeclared.order, ioSeries );
    std::uint64_t mapped = 0;
    for ( const auto& block : inDeclared.blocks )
        mapped += order.GetCount( block );
    if ( !inDeclared.blocks.empty() && mapped != order.GetPageCount() )
        ThrowWrongMap( mapped, order.GetPageCount() );

    constexpr auto kMissing = std::numeric_limits<std::uint32_t>::max();
    ioSeries.pages.assign( order.GetPageCount(), XPagePlace{ 0, kMissing } );
    if ( inDeclared.blocks.empty() )
        for ( std::uint64_t i = 0; i < order.GetPageCount(); ++i )
            ioSeries.pages[order.GetIndex( i )] = Map( { 0, itsNextPage + static_cast<std::uint32_t>( i ) } );
    for ( const auto& block : inDeclared.blocks )
        for ( std::uint64_t i = 0; i < order.GetCount( block ); ++i )
            ioSeries.pages[order.GetIndex( order.GetFirst( block ) + i )] = Map( FindPlace( block, i ) );
    itsNextPage += static_cast<std::uint32_t>( order.GetPageCount() );
    const auto missing = std::ranges::count( ioSeries.pages, kMissing, &XPagePlace::page );
    if ( missing > 0 )
        ThrowWrongMap( order.GetPageCount() - static_cast<std::uint64_t>( missing ), order.GetPageCount() );
}

/// Refuses planes that follow the only page without directories of their own.
void CheckSinglePage( const XImageDescription& inDescription, const WImageFile& inFile )
{
    const auto total = inDescription.total;
    if ( inFile.GetPageCount() == 1 && total > 1 && total <= inFile.GetLayout().planesInFile )
        throw WImageError(
            "its description declares " + DescribeDeclared( inDescription, total ) +
            " in one page: only the first could be read" );
}
} // namespace

const char* XGetSourceName( XImageSource inSource )
{
    switch ( inSource )
    {
    case XImageSource::kNone:
        return "";
    case XImageSource::kGiven:
        return "given";
    case XImageSource::kOME:
        return "OME";
    case XImageSource::kImageJ:
        return "ImageJ";
    case XImageSource::kShape:
        return "array shape";
    case XImageSource::kResolution:
        return "resolution";
    case XImageSource::kPages:
        return "pages";
    }
    return "";
}

const XPagePlace* XImageSeries::GetPages( std::uint32_t inSlice, std::uint32_t inTime ) const
{
    return &pages[( std::size_t{ inTime } * slices + inSlice ) * GetPagesPerPlane()];
}

XPlanePlace
XImageSeries::GetPlane( std::uint32_t inChannel, std::uint32_t inSlice, std::uint32_t inTime ) const
{
    const auto& place = GetPages( inSlice, inTime )[inChannel / channelsPerPage];
    return { { place.file, place.page }, inChannel % channelsPerPage };
}

double XImageSeries::GetTime( std::uint32_t inSlice, std::uint32_t inTime ) const
{
    if ( !planeTimes.empty() )
        return planeTimes[std::size_t{ inTime } * slices + inSlice];
    return timeInterval > 0 ? inTime * timeInterval : std::numeric_limits<double>::quiet_NaN();
}

std::optional<std::uint32_t> XImageSeries::FindChannel( std::string_view inName ) const
{
    const auto found = std::ranges::find( channelNames, inName );
    if ( found == channelNames.end() || inName.empty() )
        return std::nullopt;
    return static_cast<std::uint32_t>( found - channelNames.begin() );
}

XImageStructure XImageStructure::Read( const WImageFile& inFile, const std::filesystem::path& inPath )
{
    const auto description = XImageDescription::Parse( inFile.GetDescriptions(), inFile.GetLayout() );
    CheckSinglePage( description, inFile );
    // Pages that were appended to an array, each as an array of its own, are further time points.
    const auto isAppended =
        description.mayMoreFollow && description.total < inFile.GetPageCount() && HasOnlyTimes( description );
    if ( description.series.empty() && !description.areElsewhere )
        return MakePages( inFile, inPath );
    if ( isAppended )
        return MakePages( inFile, inPath );
    return StructureBuilder( inFile, inPath, description ).Build();
}

XImageStructure XImageStructure::ReadPages( const WImageFile& inFile, const std::filesystem::path& inPath )
{
    try
    {
        CheckSinglePage( XImageDescription::Parse( inFile.GetDescriptions(), inFile.GetLayout() ), inFile );
    }
    catch ( const XNotTimePointsError& )
    {
        // A description that is not understood does not matter here.
    }
    return MakePages( inFile, inPath );
}
