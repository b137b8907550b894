#include "MeasurementTable.h"

#include "AnsiText.h"
#include "ObjectIdentity.h"
#include "Pieces.h"
#include "Pivot/XPivotFloatColumn.h"
#include "Pivot/XPivotOtherRowRefColumn.h"
#include "Pivot/XPivotRowRefColumn.h"
#include "Pivot/XPivotStringColumn.h"
#include "Pivot/XPivotUInt32Column.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <stdexcept>

namespace
{
const char* const kSquareMicrometres = "\xB5m\xB2"; // ANSI, as all text of a table.

/// The columns of one channel, in their order.
constexpr std::array kChannelIDs{ kPivotMin, kPivotMax, kPivotMean, kPivotStandardDeviation, kPivotSum };

/// A table that is being filled, with its columns at hand.
class Filler
{
public:
    Filler( std::uint32_t inChannels, bool inHasParents, bool inHasArea );

    void AddImage( const ImageMeasurement& inImage );
    XPivotTable TakeTable() { return std::move( itsTable ); }

private:
    XPivotTable itsTable;
    std::uint32_t itsChannelCount;
    std::size_t itsImageCount = 0;
    XPivotRowRefColumn* itsID;
    XPivotOtherRowRefColumn* itsParentID = nullptr;
    XPivotStringColumn* itsName;
    XPivotUInt32Column* itsTimepoint;
    XPivotUInt32Column* itsPixelCount;
    XPivotFloatColumn* itsArea = nullptr;
    std::array<XPivotFloatColumn*, 2> itsCentroid;
    std::array<XPivotUInt32Column*, 2> itsLocation;
    std::array<XPivotUInt32Column*, 2> itsBounds;
    XPivotFloatColumn* itsPerimeter;
    std::vector<XPivotFloatColumn*> itsStatistics; ///< Channel after channel.

    template<class Column>
    Column*
    Add( XPivotColumnID inID, const XString& inChannel = XString(), const XString& inUnits = XString() )
    {
        return &itsTable.AddColumn( std::make_unique<Column>( inID, XString(), inChannel, inUnits ) );
    }
    void AddPage( const XString& inName, std::uint32_t inTimepoint, const PageMeasurement& inPage );
    void AddParent( const PageMeasurement& inPage, std::size_t inObject, std::uint32_t inFirstRow );
    void AddShape( const ObjectShape& inShape, const PageMeasurement& inPage );
    void AddStatistics( const PageMeasurement& inPage, std::size_t inObject );
};

Filler::Filler( std::uint32_t inChannels, bool inHasParents, bool inHasArea ) : itsChannelCount( inChannels )
{
    itsID = Add<XPivotRowRefColumn>( kPivotID );
    if ( inHasParents )
    {
        itsParentID = Add<XPivotOtherRowRefColumn>( kPivotParentID );
        itsParentID->SetRowRefColumnDescriptor( itsID->GetDescriptor() );
    }
    itsName = Add<XPivotStringColumn>( kPivotName );
    itsTimepoint = Add<XPivotUInt32Column>( kPivotTimepoint );
    itsPixelCount = Add<XPivotUInt32Column>( kPivotPixelCount );
    if ( inHasArea )
        itsArea = Add<XPivotFloatColumn>( kPivotArea, XString(), kSquareMicrometres );
    itsCentroid = { Add<XPivotFloatColumn>( kPivotCentroidX ), Add<XPivotFloatColumn>( kPivotCentroidY ) };
    itsLocation = { Add<XPivotUInt32Column>( kPivotXLocation ), Add<XPivotUInt32Column>( kPivotYLocation ) };
    itsBounds = { Add<XPivotUInt32Column>( kPivotBoundsX ), Add<XPivotUInt32Column>( kPivotBoundsY ) };
    itsPerimeter = Add<XPivotFloatColumn>( kPivotPerimeter );
    for ( std::uint32_t channel = 1; channel <= inChannels; ++channel )
        for ( const auto id : kChannelIDs )
            itsStatistics.push_back( Add<XPivotFloatColumn>( id, XString( "C" ) + XString( channel ) ) );
}

void Filler::AddImage( const ImageMeasurement& inImage )
{
    const XString name = FromUTF8( inImage.name );
    std::uint32_t timepoint = 0;
    for ( const auto& page : inImage.pages )
        AddPage( name, timepoint++, page );
    ++itsImageCount;
}

void Filler::AddPage( const XString& inName, std::uint32_t inTimepoint, const PageMeasurement& inPage )
{
    const auto name = inName.GetStringView();
    const auto firstRow = itsID->GetColumnSize();
    const auto addRows = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto i = inFirst; i < inEnd; ++i )
        {
            AddStatistics( inPage, i );
            itsID->AppendValue( MakeObjectIdentity( name, itsImageCount, inTimepoint, inPage, i ), true );
            AddParent( inPage, i, firstRow );
            itsName->AppendValue( inName, true );
            itsTimepoint->AppendValue( inTimepoint, true );
            AddShape( inPage.shapes[i], inPage );
        }
    };
    ForEachPiece( inPage.shapes.size(), kTableRowsAtOnce, addRows );
}

/// The objects of the page, whose first one is in that row, are in the table before those inside them.
void Filler::AddParent( const PageMeasurement& inPage, std::size_t inObject, std::uint32_t inFirstRow )
{
    if ( !itsParentID )
        return;
    if ( inObject < inPage.GetOuterCount() )
        itsParentID->AppendValue( XUUID(), false );
    else
        itsParentID->AppendValue( itsID->GetDataUUID( inFirstRow + inPage.GetParent( inObject ) ), true );
}

void Filler::AddShape( const ObjectShape& inShape, const PageMeasurement& inPage )
{
    itsPixelCount->AppendValue( inShape.pixelCount, true );
    if ( itsArea )
    {
        const auto area = inShape.pixelCount * inPage.pixelWidth * inPage.pixelHeight;
        itsArea->AppendValue(
            inPage.HasResolution() ? area : itsArea->GetDefaultValue(), inPage.HasResolution() );
    }
    itsCentroid[0]->AppendValue( inShape.GetCentroidX(), true );
    itsCentroid[1]->AppendValue( inShape.GetCentroidY(), true );
    itsLocation[0]->AppendValue( inShape.left, true );
    itsLocation[1]->AppendValue( inShape.top, true );
    itsBounds[0]->AppendValue( inShape.GetBoundsX(), true );
    itsBounds[1]->AppendValue( inShape.GetBoundsY(), true );
    itsPerimeter->AppendValue( static_cast<double>( inShape.GetPerimeter() ), true );
}

void Filler::AddStatistics( const PageMeasurement& inPage, std::size_t inObject )
{
    for ( std::uint32_t channel = 0; channel < itsChannelCount; ++channel )
    {
        const auto exists = channel < inPage.channels;
        const auto statistics =
            exists ? inPage.statistics[inObject * inPage.channels + channel] : ChannelStatistics();
        const std::array values{
            statistics.min, statistics.max, statistics.mean, statistics.standardDeviation, statistics.sum };
        for ( std::size_t i = 0; i < values.size(); ++i )
        {
            auto& column = *itsStatistics[channel * values.size() + i];
            column.AppendValue( exists ? values[i] : column.GetDefaultValue(), exists );
        }
    }
}
} // namespace

std::uint64_t ImageMeasurement::GetObjectCount() const
{
    std::uint64_t count = 0;
    for ( const auto& page : pages )
        count += page.shapes.size();
    return count;
}

XPivotTable
MakeMeasurementTable( const std::vector<ImageMeasurement>& inImages, const MeasureSettings& inSettings )
{
    std::uint64_t rows = 0;
    std::uint32_t channels = 0;
    bool hasArea = false;
    for ( const auto& image : inImages )
    {
        rows += image.GetObjectCount();
        for ( const auto& page : image.pages )
        {
            channels = std::max( channels, page.channels );
            hasArea |= page.HasResolution();
        }
    }
    if ( rows > std::numeric_limits<std::int32_t>::max() )
        throw std::runtime_error( std::to_string( rows ) + " objects are more than a table can hold" );

    Filler filler( channels, inSettings.inside.has_value(), hasArea );
    for ( const auto& image : inImages )
        filler.AddImage( image );
    return filler.TakeTable();
}
