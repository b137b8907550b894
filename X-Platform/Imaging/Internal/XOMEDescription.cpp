#include "Core/Strings/XNumberText.h"
#include "Images/WXMLReader.h"
#include "Imaging/Internal/XImageDescription.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

// OME-XML: OME > Image > Pixels > Channel, TiffData (> UUID) and Plane. Elements are recognised by their depth, because
// annotations may contain elements of any name. TiffData maps consecutive directories of a file to planes, from a first
// plane on in the order of the dimensions. A file of a set has the description of the whole set; UUID tells the files
// apart, and a renamed file still has its own identifier.

namespace
{
using Attributes = WXMLVisitor::Attributes;

const std::string* FindAttribute( const Attributes& inAttributes, std::string_view inName )
{
    const auto found = std::ranges::find( inAttributes, inName, &WXMLVisitor::Attribute::name );
    return found == inAttributes.end() ? nullptr : &found->value;
}

std::string GetText( const Attributes& inAttributes, std::string_view inName )
{
    const auto* const text = FindAttribute( inAttributes, inName );
    return text ? *text : std::string();
}

std::optional<std::uint64_t> GetNumber( const Attributes& inAttributes, std::string_view inName )
{
    const auto* const text = FindAttribute( inAttributes, inName );
    if ( !text )
        return std::nullopt;
    const auto number = XParseNumber<std::uint64_t>( XTrim( *text ) );
    constexpr std::uint64_t kMost = INT32_MAX;
    if ( !number || *number > kMost )
        throw XNotTimePointsError(
            "its OME-XML has the invalid " + std::string( inName ) + " \"" + text->substr( 0, 40 ) +
            "\" (expected a whole number of at most " + std::to_string( kMost ) + ")" );
    return number;
}

constexpr auto kNotANumber = std::numeric_limits<double>::quiet_NaN();

/// NaN for other texts.
double ParseReal( std::string_view inText )
{
    return XParseNumber<double>( XTrim( inText ) ).value_or( kNotANumber );
}

/// The count of a dimension, 1 if it is not declared.
std::uint64_t GetCount( const Attributes& inAttributes, std::string_view inName )
{
    const auto count = GetNumber( inAttributes, inName ).value_or( 1 );
    if ( count == 0 )
        throw XNotTimePointsError( "its OME-XML declares the " + std::string( inName ) + " 0" );
    // Limited, so that no product of three overflows: no file has so many pages.
    constexpr std::uint64_t kMost = 1 << 20;
    return std::min( count, kMost );
}

/// A positive quantity in a standard unit: 0 if it is missing or in an unknown unit, such as pixels.
double GetQuantity(
    const Attributes& inAttributes, const std::string& inName, const char* inDefaultUnit,
    std::optional<double> ( *inGetFactor )( std::string_view ) )
{
    const auto* const text = FindAttribute( inAttributes, inName );
    const auto number = text ? ParseReal( *text ) : 0;
    const auto* const unit = FindAttribute( inAttributes, inName + "Unit" );
    const auto factor = inGetFactor( unit ? std::string_view( *unit ) : inDefaultUnit );
    return std::isfinite( number ) && number > 0 ? number * factor.value_or( 0 ) : 0;
}

/// "XYCZT" as "CZT".
std::string GetOrder( const Attributes& inAttributes )
{
    const auto* const text = FindAttribute( inAttributes, "DimensionOrder" );
    if ( !text )
        return "CZT";
    const auto order = text->substr( 0, 2 ) == "XY" ? text->substr( 2 ) : std::string();
    auto sorted = order;
    std::ranges::sort( sorted );
    if ( sorted != "CTZ" )
        throw XNotTimePointsError(
            "its OME-XML has the dimension order \"" + text->substr( 0, 40 ) +
            "\" (expected X and Y, followed by Z, C and T in any order)" );
    return order;
}

class OMEVisitor : public WXMLVisitor
{
public:
    bool isOME = false;
    XImageDescription description;

    void
    EnterElement( std::uint32_t inDepth, const std::string& inName, const Attributes& inAttributes ) override;
    void AddText( std::uint32_t inDepth, const std::string& inText ) override;

private:
    std::array<std::string, 5> itsPath; // the names of the open elements
    std::string itsUUID;                // that of the file itself
    std::string itsName;                // that of the current image

    bool IsWithin( std::initializer_list<const char*> inNames ) const;
    void EnterPixels( const Attributes& inAttributes );
    void AddBlock( const Attributes& inAttributes );
    void AddPlane( const Attributes& inAttributes );
    XDeclaredSeries& GetSeries() { return description.series.back(); }
};

bool OMEVisitor::IsWithin( std::initializer_list<const char*> inNames ) const
{
    return std::equal( inNames.begin(), inNames.end(), itsPath.begin() );
}

void OMEVisitor::EnterElement(
    std::uint32_t inDepth, const std::string& inName, const Attributes& inAttributes )
{
    if ( inDepth >= itsPath.size() )
        return;
    itsPath[inDepth] = inName;
    if ( inDepth == 0 )
    {
        isOME = inName == "OME";
        itsUUID = GetText( inAttributes, "UUID" );
    }
    if ( !isOME )
        return;
    if ( inDepth == 1 && inName == "BinaryOnly" )
        description.areElsewhere = true;
    if ( inDepth == 1 && inName == "Image" )
        itsName = GetText( inAttributes, "Name" );
    if ( inDepth == 2 && IsWithin( { "OME", "Image", "Pixels" } ) )
        EnterPixels( inAttributes );
    if ( inDepth == 3 && IsWithin( { "OME", "Image", "Pixels", "Channel" } ) )
        GetSeries().channelNames.push_back( GetText( inAttributes, "Name" ) );
    if ( inDepth == 3 && IsWithin( { "OME", "Image", "Pixels", "TiffData" } ) )
        AddBlock( inAttributes );
    if ( inDepth == 3 && IsWithin( { "OME", "Image", "Pixels", "Plane" } ) )
        AddPlane( inAttributes );
    if ( inDepth == 4 && IsWithin( { "OME", "Image", "Pixels", "TiffData", "UUID" } ) )
        GetSeries().blocks.back().file = GetText( inAttributes, "FileName" );
}

/// The identifier of the file itself, which may have been renamed.
void OMEVisitor::AddText( std::uint32_t inDepth, const std::string& inText )
{
    if ( isOME && inDepth == 5 && IsWithin( { "OME", "Image", "Pixels", "TiffData", "UUID" } ) &&
         !itsUUID.empty() && XTrim( inText ) == itsUUID )
        GetSeries().blocks.back().file.clear();
}

void OMEVisitor::EnterPixels( const Attributes& inAttributes )
{
    auto& series = description.series.emplace_back();
    series.name = itsName;
    series.width = GetNumber( inAttributes, "SizeX" ).value_or( 0 );
    series.height = GetNumber( inAttributes, "SizeY" ).value_or( 0 );
    series.channels = GetCount( inAttributes, "SizeC" );
    series.slices = GetCount( inAttributes, "SizeZ" );
    series.times = GetCount( inAttributes, "SizeT" );
    series.order = GetOrder( inAttributes );
    const auto getLength = [&]( const char* inName )
    { return GetQuantity( inAttributes, inName, "\u00B5m", XGetMicrometres ); };
    series.pixelWidth = getLength( "PhysicalSizeX" );
    series.pixelHeight = getLength( "PhysicalSizeY" );
    series.sliceSpacing = getLength( "PhysicalSizeZ" );
    series.timeInterval = GetQuantity( inAttributes, "TimeIncrement", "s", XGetSeconds );
}

/// Without any attributes, all planes are in the file, one after the other.
void OMEVisitor::AddBlock( const Attributes& inAttributes )
{
    XPageBlock block;
    block.firstChannel = GetNumber( inAttributes, "FirstC" ).value_or( 0 );
    block.firstSlice = GetNumber( inAttributes, "FirstZ" ).value_or( 0 );
    block.firstTime = GetNumber( inAttributes, "FirstT" ).value_or( 0 );
    const auto directory = GetNumber( inAttributes, "IFD" );
    block.firstDirectory = directory.value_or( 0 );
    block.count = GetNumber( inAttributes, "PlaneCount" );
    if ( directory && !block.count )
        block.count = 1;
    GetSeries().blocks.push_back( block );
}

void OMEVisitor::AddPlane( const Attributes& inAttributes )
{
    const auto* const delta = FindAttribute( inAttributes, "DeltaT" );
    const auto* const unit = FindAttribute( inAttributes, "DeltaTUnit" );
    const auto number = delta ? ParseReal( *delta ) : kNotANumber;
    const auto factor = XGetSeconds( unit ? std::string_view( *unit ) : "s" );
    if ( !std::isfinite( number ) || !factor )
        return;
    const auto get = [&]( std::string_view inName )
    { return GetNumber( inAttributes, inName ).value_or( 0 ); };
    GetSeries().planeTimes.push_back( { get( "TheC" ), get( "TheZ" ), get( "TheT" ), number * *factor } );
}
} // namespace

std::optional<XImageDescription> XParseOME( std::string_view inText )
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if ( inText.starts_with( kByteOrderMark ) )
        inText.remove_prefix( kByteOrderMark.size() );
    inText = XTrim( inText );
    const auto mayBeOME = inText.starts_with( '<' ) &&
        ( inText.find( "<OME" ) != inText.npos || inText.find( ":OME" ) != inText.npos );
    if ( !mayBeOME )
        return std::nullopt;
    OMEVisitor visitor;
    try
    {
        WXMLReader::Read( inText, visitor );
    }
    catch ( const XNotTimePointsError& )
    {
        throw;
    }
    catch ( const WImageError& error )
    {
        throw XNotTimePointsError( error.what() );
    }
    if ( !visitor.isOME )
        return std::nullopt;
    visitor.description.source = XImageSource::kOME;
    visitor.description.countsSamples = true;
    return std::move( visitor.description );
}
