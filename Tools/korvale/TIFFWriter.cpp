#include "TIFFWriter.h"

#include "Pieces.h"
#include "WTIFFDirectory.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <string>

namespace
{
using Tag = WTIFFDirectory::Tag;

constexpr std::uint16_t kExtraSamples = 338;
constexpr std::uint16_t kShort = 3, kLong = 4, kRational = 5;
constexpr std::uint16_t kUnsigned = 1, kFloat = 3;
constexpr std::uint16_t kNotCompressed = 1, kBlackIsZero = 1, kInterleaved = 1, kCentimetre = 3;
constexpr double kMicrometresPerCentimetre = 1e4;

template<class T>
void AppendTo( std::string& ioBytes, T inNumber )
{
    ioBytes.append( reinterpret_cast<const char*>( &inNumber ), sizeof( inNumber ) );
}

/// A directory that is being put together: entries, and behind them the values that are too long for an entry.
class Directory
{
public:
    Directory( std::uint64_t inPosition, std::uint16_t inEntryCount )
        : itsValuesPosition( static_cast<std::uint32_t>( inPosition ) + 2 + inEntryCount * 12u + 4 )
    {
        AppendTo( itsEntries, inEntryCount );
    }

    void AddShort( std::uint16_t inTag, std::uint16_t inValue, std::uint32_t inCount = 1 )
    {
        std::string values;
        for ( std::uint32_t i = 0; i < inCount; ++i )
            AppendTo( values, inValue );
        Add( inTag, kShort, inCount, values );
    }

    void AddLong( std::uint16_t inTag, std::uint64_t inValue )
    {
        std::string value;
        AppendTo( value, static_cast<std::uint32_t>( inValue ) );
        Add( inTag, kLong, 1, value );
    }

    void AddFraction( std::uint16_t inTag, double inValue )
    {
        constexpr std::uint32_t kDivisor = 1000;
        std::string value;
        AppendTo( value, static_cast<std::uint32_t>( std::llround( inValue * kDivisor ) ) );
        AppendTo( value, kDivisor );
        Add( inTag, kRational, 1, value );
    }

    std::string GetBytes() const
    {
        constexpr std::uint32_t kNoNextDirectory = 0;
        auto bytes = itsEntries;
        AppendTo( bytes, kNoNextDirectory );
        return bytes + itsValues;
    }

    std::uint64_t GetLink() const { return itsValuesPosition - sizeof( std::uint32_t ); }

private:
    std::uint32_t itsValuesPosition;
    std::string itsEntries;
    std::string itsValues;

    void Add( std::uint16_t inTag, std::uint16_t inType, std::uint32_t inCount, std::string inValues )
    {
        AppendTo( itsEntries, inTag );
        AppendTo( itsEntries, inType );
        AppendTo( itsEntries, inCount );
        inValues.resize( std::max<std::size_t>( inValues.size() + inValues.size() % 2, 4 ) );
        if ( inValues.size() > 4 )
        {
            AppendTo( itsEntries, static_cast<std::uint32_t>( itsValuesPosition + itsValues.size() ) );
            itsValues += inValues;
        }
        else
            itsEntries += inValues;
    }
};

Directory MakeDirectory( const WImagePage& inPage, std::uint64_t inPosition, std::uint64_t inSamplesPosition )
{
    const auto hasExtra = inPage.channels > 1;
    const auto hasResolution = inPage.HasResolution();
    const auto entryCount = 11 + ( hasExtra ? 1 : 0 ) + ( hasResolution ? 3 : 0 );

    // In ascending order of the tags.
    Directory directory( inPosition, static_cast<std::uint16_t>( entryCount ) );
    directory.AddLong( Tag::kWidth, inPage.width );
    directory.AddLong( Tag::kHeight, inPage.height );
    directory.AddShort(
        Tag::kBitsPerSample, static_cast<std::uint16_t>( inPage.GetSampleSize() * 8 ), inPage.channels );
    directory.AddShort( Tag::kCompression, kNotCompressed );
    directory.AddShort( Tag::kPhotometric, kBlackIsZero );
    directory.AddLong( Tag::kStripOffsets, inSamplesPosition );
    directory.AddShort( Tag::kSamplesPerPixel, static_cast<std::uint16_t>( inPage.channels ) );
    directory.AddLong( Tag::kRowsPerStrip, inPage.height );
    directory.AddLong( Tag::kStripSizes, inPage.GetByteCount() );
    if ( hasResolution )
    {
        directory.AddFraction( Tag::kXResolution, kMicrometresPerCentimetre / inPage.pixelWidth );
        directory.AddFraction( Tag::kYResolution, kMicrometresPerCentimetre / inPage.pixelHeight );
    }
    directory.AddShort( Tag::kPlanarConfiguration, kInterleaved );
    if ( hasResolution )
        directory.AddShort( Tag::kResolutionUnit, kCentimetre );
    if ( hasExtra )
        directory.AddShort( kExtraSamples, 0, inPage.channels - 1 );
    directory.AddShort(
        Tag::kSampleFormat, inPage.type == WImagePage::kFloat32 ? kFloat : kUnsigned, inPage.channels );
    return directory;
}
} // namespace

TIFFWriter::TIFFWriter( WFile& ioFile ) : itsFile( ioFile )
{
    std::string header = std::endian::native == std::endian::little ? "II" : "MM";
    AppendTo<std::uint16_t>( header, 42 );
    AppendTo<std::uint32_t>( header, 0 );
    Append( header.data(), header.size() );
}

void TIFFWriter::WritePage( const WImagePage& inPage )
{
    const auto samplesPosition = itsEnd;
    const auto position = itsEnd + inPage.GetByteCount() + inPage.GetByteCount() % 2;
    const auto directory = MakeDirectory( inPage, position, samplesPosition );
    const auto bytes = directory.GetBytes();
    if ( position + bytes.size() > std::numeric_limits<std::uint32_t>::max() )
        throw WImageError( "the pages outgrow the 4 GiB of a TIFF file" );

    Append( inPage.samples.get(), inPage.GetByteCount() );
    itsEnd = position;
    Append( bytes.data(), bytes.size() );

    const auto offset = static_cast<std::uint32_t>( position );
    itsFile.WriteAt( itsLink, &offset, sizeof( offset ) );
    itsLink = directory.GetLink();
}

void TIFFWriter::Append( const void* inBytes, std::uint64_t inCount )
{
    constexpr std::uint64_t kBytesAtOnce = 1024 * 1024;
    const auto* const bytes = static_cast<const std::byte*>( inBytes );
    ForEachPiece(
        inCount, kBytesAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inLast )
        { itsFile.WriteAt( itsEnd + inFirst, bytes + inFirst, inLast - inFirst ); } );
    itsEnd += inCount;
}
