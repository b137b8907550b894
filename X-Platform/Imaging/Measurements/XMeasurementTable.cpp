#include "Imaging/Measurements/XMeasurementTable.h"

#include "Imaging/Measurements/Internal/XObjectIdentity.h"
#include "Jobs/XChunks.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotStringColumn.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/XPivotText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>

// Builds the table page by page and releases the measurements of each page, so that both are never in memory
// completely. The number of rows is known, so the columns are reserved once: growing by doubling
// would take twice the memory at its peak. Object identities are computed from what is measured
// (XMakeObjectIdentity), so the same measurement gives the same file.

namespace
{
constexpr const char* kSquareMicrometres = "\xB5m\xB2"; // ANSI, as all text of a table.
constexpr const char* kMicrometres = "\xB5m";

using GetForm = double ( * )( const XShapeMeasurement& inForm, const XObjectShape& inShape );

/// A column of forms, and how its values change with the size of pixels.
struct FormColumn
{
    const char* name;
    const char* units; // of its calibrated twin; null: none
    int power;         // of the pixel size in that twin
    GetForm get;
};

constexpr std::array kFormColumns{
    FormColumn{
        "Major Axis", kMicrometres, 1, []( const auto& inForm, const auto& ) { return inForm.majorAxis; } },
    FormColumn{
        "Minor Axis", kMicrometres, 1, []( const auto& inForm, const auto& ) { return inForm.minorAxis; } },
    FormColumn{
        "Eccentricity", nullptr, 0, []( const auto& inForm, const auto& ) { return inForm.eccentricity; } },
    FormColumn{
        "Orientation", nullptr, 0, []( const auto& inForm, const auto& ) { return inForm.orientation; } },
    FormColumn{
        "Max Feret", kMicrometres, 1, []( const auto& inForm, const auto& ) { return inForm.maxFeret; } },
    FormColumn{
        "Min Feret", kMicrometres, 1, []( const auto& inForm, const auto& ) { return inForm.minFeret; } },
    FormColumn{
        "Convex Area", kSquareMicrometres, 2,
        []( const auto& inForm, const auto& ) { return static_cast<double>( inForm.convexArea ); } },
    FormColumn{
        "Solidity", nullptr, 0,
        []( const auto& inForm, const auto& inShape ) { return inForm.GetSolidity( inShape ); } },
    FormColumn{
        "Crofton Perimeter", kMicrometres, 1,
        []( const auto& inForm, const auto& ) { return inForm.perimeter; } },
    FormColumn{
        "Circularity", nullptr, 0,
        []( const auto& inForm, const auto& inShape ) { return inForm.GetCircularity( inShape ); } },
    FormColumn{
        "Equivalent Diameter", kMicrometres, 1,
        []( const auto&, const auto& inShape )
        { return XShapeMeasurement::GetEquivalentDiameter( inShape ); } },
    FormColumn{
        "Extent", nullptr, 0,
        []( const auto&, const auto& inShape ) { return XShapeMeasurement::GetExtent( inShape ); } },
    FormColumn{ "Holes", nullptr, 0, []( const auto& inForm, const auto& ) {
                   return static_cast<double>( inForm.holes );
               } } };

/// The side of a pixel; 0 without a resolution or if pixels are not square.
double GetPixelSide( const XPageMeasurement& inPage )
{
    constexpr double kTolerance = 1e-6; // resolutions are stored as fractions
    const auto isSquare =
        std::abs( inPage.pixelWidth - inPage.pixelHeight ) <= kTolerance * inPage.pixelWidth;
    return inPage.HasResolution() && isSquare ? inPage.pixelWidth : 0;
}

/// The columns of one channel, in their order.
constexpr std::array kChannelIDs{ kPivotMin, kPivotMax, kPivotMean, kPivotStandardDeviation, kPivotSum };

/// The memory of a row in a column; the storage of texts is shared by many rows.
template<class TColumn>
constexpr std::size_t kBytesPerRow = sizeof( typename TColumn::XValue ) + sizeof( std::uint8_t );
template<>
constexpr std::size_t kBytesPerRow<XPivotRowRefColumn> = kBytesPerRow<XPivotReferenceColumn> +
    sizeof( XPivotRowRefs::XPlace ) + XPivotRowRefs::GetBytesPerRecord();

/// True when images of one name lie in different folders.
bool HaveNamesInSeveralFolders( const std::vector<XImageMeasurement>& inImages )
{
    std::map<std::string, std::string> folderOfName;
    return std::ranges::any_of(
        inImages,
        [&]( const XImageMeasurement& inImage )
        { return folderOfName.emplace( inImage.name, inImage.folder ).first->second != inImage.folder; } );
}

std::vector<std::string> SplitPath( const std::string& inPath )
{
    std::vector<std::string> parts( 1 );
    for ( const auto character : inPath )
        if ( character == '/' )
            parts.emplace_back();
        else
            parts.back() += character;
    return parts;
}

/// The images' folders without the outermost and the innermost ones that all of them have in common; "." where nothing is
/// left.
std::vector<std::string> GetDifferingFolders( const std::vector<XImageMeasurement>& inImages )
{
    std::vector<std::vector<std::string>> paths;
    for ( const auto& image : inImages )
        paths.push_back( SplitPath( image.folder ) );
    const auto areAllLike = [&]( const std::string& inPart, auto inGetPart ) {
        return std::ranges::all_of(
            paths, [&]( const auto& inPath ) { return inGetPart( inPath ) == inPart; } );
    };
    const auto shortest =
        paths.empty() ? 0 : std::ranges::min( paths, {}, &std::vector<std::string>::size ).size();
    std::size_t first = 0, last = 0;
    while ( first < shortest &&
            areAllLike( paths[0][first], [&]( const auto& inPath ) { return inPath[first]; } ) )
        ++first;
    const auto getFromEnd = [&]( const auto& inPath ) { return inPath[inPath.size() - 1 - last]; };
    // The sum is limited, so that no part of a path counts as common twice.
    while ( first + last < shortest && areAllLike( getFromEnd( paths[0] ), getFromEnd ) )
        ++last;

    std::vector<std::string> folders;
    for ( const auto& path : paths )
    {
        std::string folder;
        for ( auto i = first; i + last < path.size(); ++i )
            folder += ( i > first ? "/" : "" ) + path[i];
        folders.push_back( folder.empty() ? "." : folder );
    }
    return folders;
}

/// The position of a page; page n is time point n unless the image says otherwise.
XPagePosition GetPosition( const XImageMeasurement& inImage, std::size_t inPage )
{
    if ( inPage < inImage.positions.size() )
        return inImage.positions[inPage];
    const auto number = static_cast<std::uint32_t>( inPage );
    return { number, 0, number, 0, std::numeric_limits<double>::quiet_NaN() };
}

/// The columns that a table has only if there is something to tell apart.
struct OptionalColumns
{
    bool hasParents = false;
    bool hasFolders = false;
    bool hasArea = false;
    bool hasSeries = false;
    bool hasSlices = false;
    bool hasTimes = false;
    std::vector<std::string> groups; // names, in UTF-8
    bool hasForms = false;
    bool hasCalibratedForms = false;

    void AddPositions( const XImageMeasurement& inImage );
};

void OptionalColumns::AddPositions( const XImageMeasurement& inImage )
{
    const auto areSeveral = [&]( std::uint32_t XPagePosition::*inField )
    {
        return std::ranges::any_of(
            inImage.positions, [&]( const auto& inPosition ) { return inPosition.*inField > 0; } );
    };
    hasSeries |= areSeveral( &XPagePosition::series );
    hasSlices |= areSeveral( &XPagePosition::slice );
    const auto hasTime = std::ranges::any_of(
        inImage.positions, []( const auto& inPosition ) { return !std::isnan( inPosition.seconds ); } );
    hasTimes |= hasTime && areSeveral( &XPagePosition::time );
}

/// The texts of an image, as a table has them.
struct ImageTexts
{
    XString name;
    XString folder;
    std::vector<std::optional<XString>> groups;
};

/// A table that is being filled, with its columns at hand.
class Filler
{
public:
    Filler( std::uint32_t inChannels, const OptionalColumns& inOptional, XMeasurementMemory* ioMemory );

    void ReserveRows( std::uint32_t inCount ) { itsTable.ReserveRows( inCount ); }

    /// The folder as the table is to show it.
    void AddImage( XImageMeasurement& ioImage, const std::string& inFolder );
    XPivotTable TakeTable() { return std::move( itsTable ); }

private:
    XPivotTable itsTable;
    XMeasurementMemory* const itsMemory; // null: none
    std::size_t itsRowBytes = 0;         // what a row takes up in all columns
    std::uint32_t itsChannelCount;
    std::size_t itsImageCount = 0;
    XPivotRowRefColumn* itsID;
    XPivotOtherRowRefColumn* itsParentID = nullptr;
    XPivotStringColumn* itsName;
    XPivotStringColumn* itsFolder = nullptr;
    std::vector<XPivotStringColumn*> itsGroups;
    XPivotUInt32Column* itsSeries = nullptr;
    XPivotUInt32Column* itsTimepoint;
    XPivotFloatColumn* itsTime = nullptr;
    XPivotUInt32Column* itsSlice = nullptr;
    XPivotUInt32Column* itsPixelCount;
    XPivotFloatColumn* itsArea = nullptr;
    std::array<XPivotFloatColumn*, 2> itsCentroid;
    std::array<XPivotUInt32Column*, 2> itsLocation;
    std::array<XPivotUInt32Column*, 2> itsBounds;
    XPivotFloatColumn* itsPerimeter;
    std::vector<XPivotFloatColumn*> itsForms;           // as in kFormColumns; empty without
    std::vector<XPivotFloatColumn*> itsCalibratedForms; // of those with units
    std::vector<XPivotFloatColumn*> itsCalibratedCentroid;
    std::vector<XPivotFloatColumn*> itsStatistics; // channel after channel

    template<class TColumn>
    TColumn*
    Add( XPivotColumnID inID, const XString& inChannel = XString(), const XString& inUnits = XString() )
    {
        return Add( std::make_unique<TColumn>( inID, XString(), inChannel, inUnits ) );
    }
    template<class TColumn>
    TColumn* Add( std::unique_ptr<TColumn> inColumn )
    {
        itsRowBytes += kBytesPerRow<TColumn>;
        return &itsTable.AddColumn( std::move( inColumn ) );
    }
    template<class TColumn>
    TColumn* AddNamed( const char* inName, const char* inUnits = "" )
    {
        return Add( std::make_unique<TColumn>( kPivotUserDefined, inName, XString(), inUnits ) );
    }
    void
    AddPage( const ImageTexts& inTexts, const XPagePosition& inPosition, const XPageMeasurement& inPage );
    void AddTexts( const ImageTexts& inTexts );
    void AddPosition( const XPagePosition& inPosition );
    void AddParent( const XPageMeasurement& inPage, std::size_t inObject, std::uint32_t inFirstRow );
    void AddShape( const XObjectShape& inShape, const XPageMeasurement& inPage );
    void AddFormColumns( bool inHasArea, bool inAreCalibrated );
    void AddForm( const XPageMeasurement& inPage, std::size_t inObject );
    void AddStatistics( const XPageMeasurement& inPage, std::size_t inObject );
    static void AppendNumber( XPivotFloatColumn& ioColumn, double inNumber, bool inExists );
};

Filler::Filler( std::uint32_t inChannels, const OptionalColumns& inOptional, XMeasurementMemory* ioMemory )
    : itsMemory( ioMemory ), itsChannelCount( inChannels )
{
    itsID = Add<XPivotRowRefColumn>( kPivotID );
    if ( inOptional.hasParents )
    {
        itsParentID = Add<XPivotOtherRowRefColumn>( kPivotParentID );
        itsParentID->SetRowRefColumnDescriptor( itsID->GetDescriptor() );
    }
    itsName = Add<XPivotStringColumn>( kPivotName );
    if ( inOptional.hasFolders )
        itsFolder = AddNamed<XPivotStringColumn>( "Folder" );
    for ( const auto& group : inOptional.groups )
        itsGroups.push_back( Add( std::make_unique<XPivotStringColumn>(
            kPivotUserDefined, XPivotText::FromUTF8( group ), XString(), XString() ) ) );
    if ( inOptional.hasSeries )
        itsSeries = AddNamed<XPivotUInt32Column>( "Series" );
    itsTimepoint = Add<XPivotUInt32Column>( kPivotTimepoint );
    if ( inOptional.hasTimes )
        itsTime = AddNamed<XPivotFloatColumn>( "Time", "s" );
    if ( inOptional.hasSlices )
        itsSlice = AddNamed<XPivotUInt32Column>( "Slice" );
    itsPixelCount = Add<XPivotUInt32Column>( kPivotPixelCount );
    if ( inOptional.hasArea )
        itsArea = Add<XPivotFloatColumn>( kPivotArea, XString(), kSquareMicrometres );
    itsCentroid = { Add<XPivotFloatColumn>( kPivotCentroidX ), Add<XPivotFloatColumn>( kPivotCentroidY ) };
    itsLocation = { Add<XPivotUInt32Column>( kPivotXLocation ), Add<XPivotUInt32Column>( kPivotYLocation ) };
    itsBounds = { Add<XPivotUInt32Column>( kPivotBoundsX ), Add<XPivotUInt32Column>( kPivotBoundsY ) };
    itsPerimeter = Add<XPivotFloatColumn>( kPivotPerimeter );
    if ( inOptional.hasForms )
        AddFormColumns( inOptional.hasArea, inOptional.hasCalibratedForms );
    for ( std::uint32_t channel = 1; channel <= inChannels; ++channel )
        for ( const auto id : kChannelIDs )
            itsStatistics.push_back( Add<XPivotFloatColumn>( id, XString( "C" ) + XString( channel ) ) );
}

void Filler::AddFormColumns( bool inHasArea, bool inAreCalibrated )
{
    for ( const auto& column : kFormColumns )
        itsForms.push_back( AddNamed<XPivotFloatColumn>( column.name ) );
    for ( const auto& column : kFormColumns )
        if ( inAreCalibrated && column.units )
            itsCalibratedForms.push_back( AddNamed<XPivotFloatColumn>( column.name, column.units ) );
    if ( inHasArea )
        for ( const auto id : { kPivotCentroidXCalibrated, kPivotCentroidYCalibrated } )
            itsCalibratedCentroid.push_back( Add<XPivotFloatColumn>( id, XString(), kMicrometres ) );
}

void Filler::AddImage( XImageMeasurement& ioImage, const std::string& inFolder )
{
    ImageTexts texts{ XPivotText::FromFileName( ioImage.name ), XPivotText::FromFileName( inFolder ), {} };
    for ( const auto& [group, text] : ioImage.groups )
        texts.groups.push_back( text ? std::optional( XPivotText::FromFileName( *text ) ) : std::nullopt );
    for ( std::size_t i = 0; i < ioImage.pages.size(); ++i )
    {
        auto& page = ioImage.pages[i];
        if ( itsMemory )
            itsMemory->BringBack( page );
        AddPage( texts, GetPosition( ioImage, i ), page );
        page.Release();
        if ( itsMemory )
            // Counted as the table grows, while the memory of the measurements is given back.
            itsMemory->CountTable( itsTable.GetNumRows() * itsRowBytes );
    }
    ++itsImageCount;
}

void Filler::AddTexts( const ImageTexts& inTexts )
{
    itsName->AppendValue( inTexts.name, true );
    if ( itsFolder )
        itsFolder->AppendValue( inTexts.folder, true );
    for ( std::size_t i = 0; i < itsGroups.size(); ++i )
    {
        const auto hasText = i < inTexts.groups.size() && inTexts.groups[i];
        itsGroups[i]->AppendValue( hasText ? *inTexts.groups[i] : XString(), hasText );
    }
}

void Filler::AddPage(
    const ImageTexts& inTexts, const XPagePosition& inPosition, const XPageMeasurement& inPage )
{
    const auto name = inTexts.name.GetStringView();
    const auto firstRow = itsID->GetColumnSize();
    const auto addRows = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto i = inFirst; i < inEnd; ++i )
        {
            // All columns get one value per row: a page with fewer channels leaves theirs missing.
            AddStatistics( inPage, i );
            itsID->AppendValue(
                XMakeObjectIdentity( name, itsImageCount, inPosition.number, inPage, i ), true );
            AddParent( inPage, i, firstRow );
            AddTexts( inTexts );
            AddPosition( inPosition );
            AddShape( inPage.shapes[i], inPage );
            AddForm( inPage, i );
        }
    };
    XForEachChunk( inPage.shapes.size(), kTableRowsAtOnce, addRows );
}

void Filler::AddPosition( const XPagePosition& inPosition )
{
    itsTimepoint->AppendValue( inPosition.time, true );
    if ( itsSeries )
        itsSeries->AppendValue( inPosition.series, true );
    if ( itsTime )
        itsTime->AppendValue( inPosition.seconds, !std::isnan( inPosition.seconds ) );
    if ( itsSlice )
        itsSlice->AppendValue( inPosition.slice, true );
}

/// The objects of the page, whose first one is in that row, are in the table before those inside them.
void Filler::AddParent( const XPageMeasurement& inPage, std::size_t inObject, std::uint32_t inFirstRow )
{
    if ( !itsParentID )
        return;
    if ( inObject < inPage.GetOuterCount() )
        itsParentID->AppendValue( XUUID(), false );
    else
        itsParentID->AppendValue( itsID->GetDataUUID( inFirstRow + inPage.GetParent( inObject ) ), true );
}

void Filler::AddShape( const XObjectShape& inShape, const XPageMeasurement& inPage )
{
    itsPixelCount->AppendValue( inShape.pixelCount, true );
    if ( itsArea )
    {
        const auto area = inShape.pixelCount * inPage.pixelWidth * inPage.pixelHeight;
        AppendNumber( *itsArea, area, inPage.HasResolution() );
    }
    itsCentroid[0]->AppendValue( inShape.GetCentroidX(), true );
    itsCentroid[1]->AppendValue( inShape.GetCentroidY(), true );
    itsLocation[0]->AppendValue( inShape.left, true );
    itsLocation[1]->AppendValue( inShape.top, true );
    itsBounds[0]->AppendValue( inShape.GetBoundsX(), true );
    itsBounds[1]->AppendValue( inShape.GetBoundsY(), true );
    itsPerimeter->AppendValue( static_cast<double>( inShape.GetPerimeter() ), true );
}

void Filler::AddForm( const XPageMeasurement& inPage, std::size_t inObject )
{
    if ( itsForms.empty() )
        return;
    const auto& shape = inPage.shapes[inObject];
    const auto exists = inPage.hasForms;
    const auto form = exists ? inPage.forms[inObject] : XShapeMeasurement();
    const auto side = GetPixelSide( inPage );
    auto calibrated = itsCalibratedForms.begin();
    for ( std::size_t i = 0; i < kFormColumns.size(); ++i )
    {
        const auto& [name, units, power, get] = kFormColumns[i];
        const auto value = get( form, shape );
        AppendNumber( *itsForms[i], value, exists );
        if ( units && calibrated != itsCalibratedForms.end() )
            AppendNumber(
                **calibrated++, power == 2 ? value * side * side : value * side, exists && side > 0 );
    }
    if ( itsCalibratedCentroid.empty() )
        return;
    AppendNumber(
        *itsCalibratedCentroid[0], shape.GetCentroidX() * inPage.pixelWidth, inPage.HasResolution() );
    AppendNumber(
        *itsCalibratedCentroid[1], shape.GetCentroidY() * inPage.pixelHeight, inPage.HasResolution() );
}

void Filler::AddStatistics( const XPageMeasurement& inPage, std::size_t inObject )
{
    for ( std::uint32_t channel = 0; channel < itsChannelCount; ++channel )
    {
        const auto exists = channel < inPage.channels;
        const auto statistics =
            exists ? inPage.statistics[inObject * inPage.channels + channel] : XChannelStatistics();
        const std::array values{
            statistics.min, statistics.max, statistics.mean, statistics.standardDeviation, statistics.sum };
        for ( std::size_t i = 0; i < values.size(); ++i )
            AppendNumber( *itsStatistics[channel * values.size() + i], values[i], exists );
    }
}

/// The number does not matter if it does not exist.
void Filler::AppendNumber( XPivotFloatColumn& ioColumn, double inNumber, bool inExists )
{
    ioColumn.AppendValue( inExists ? inNumber : ioColumn.GetDefaultValue(), inExists );
}
} // namespace

std::uint64_t XImageMeasurement::GetObjectCount() const
{
    std::uint64_t count = 0;
    for ( const auto& page : pages )
        count += page.GetObjectCount();
    return count;
}

XPivotTable XMakeMeasurementTable(
    std::vector<XImageMeasurement>& ioImages, const XMeasureSettings& inSettings,
    XMeasurementMemory* ioMemory )
{
    std::uint64_t rows = 0;
    std::uint32_t channels = 0;
    OptionalColumns optional;
    optional.hasParents = inSettings.children.has_value();
    for ( const auto& image : ioImages )
    {
        optional.AddPositions( image );
        rows += image.GetObjectCount();
        for ( const auto& page : image.pages )
        {
            channels = std::max( channels, page.channels );
            optional.hasArea |= page.HasResolution();
            optional.hasForms |= page.hasForms;
            optional.hasCalibratedForms |= GetPixelSide( page ) > 0;
        }
    }
    constexpr auto kMostRows = std::numeric_limits<std::int32_t>::max();
    if ( rows > kMostRows )
        throw std::runtime_error(
            "too many objects for a table: " + std::to_string( rows ) + " (at most " +
            std::to_string( kMostRows ) + ")" );

    // Shown only if the names alone would not tell the images apart.
    const auto folders = GetDifferingFolders( ioImages );
    optional.hasFolders = HaveNamesInSeveralFolders( ioImages );
    if ( !ioImages.empty() )
        for ( const auto& [name, text] : ioImages.front().groups )
            optional.groups.push_back( name );
    Filler filler( channels, optional, ioMemory );
    filler.ReserveRows( static_cast<std::uint32_t>( rows ) );
    for ( std::size_t i = 0; i < ioImages.size(); ++i )
        filler.AddImage( ioImages[i], folders[i] );
    return filler.TakeTable();
}
