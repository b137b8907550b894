#include "Imaging/Writing/XTIFFWriter.h"

#include "Images/WTIFFDirectory.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

// The file: header, then for each page its samples in one strip followed by its directory. The offset of a
// directory is written into the previous link when the directory is complete (itsLink), so at any time the
// file has exactly the pages that were written. Classic TIFF has offsets of 32 bits, BigTIFF of 64, with
// wider fields throughout (Widths); GetFormat chooses by the expected size. Numbers are in the byte order of
// the processor, which the header declares.

namespace
{
using Tag = WTIFFDirectory::Tag;

constexpr std::uint16_t kExtraSamples = 338;
constexpr std::uint16_t kShortType = 3, kLongType = 4, kRationalType = 5, kLong8Type = 16;
constexpr std::uint16_t kUnsignedFormat = 1, kFloatFormat = 3;
constexpr std::uint16_t kNotCompressed = 1, kMinIsBlack = 1, kInterleaved = 1, kPerCentimetre = 3;
constexpr double kMicrometresPerCentimetre = 1e4;
constexpr std::uint64_t kMostClassicBytes = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kClassicHeaderSize = 8;

template<class T>
void AppendTo( std::string& ioBytes, T inNumber )
{
    ioBytes.append( reinterpret_cast<const char*>( &inNumber ), sizeof( inNumber ) );
}

/// The widths of a format's directory fields, in bytes.
struct Widths
{
    std::uint64_t count;  // of the number of entries
    std::uint64_t entry;  // of an entry
    std::uint64_t offset; // of an offset, and of what an entry has room for
};

constexpr Widths GetWidths( XTIFFWriter::XFormat inFormat )
{
    return inFormat == XTIFFWriter::kBig ? Widths{ 8, 20, 8 } : Widths{ 2, 12, 4 };
}

/// Appends a number that has another width in each format.
void AppendWide( std::string& ioBytes, std::uint64_t inNumber, std::uint64_t inWidth )
{
    if ( inWidth == 8 )
        AppendTo( ioBytes, inNumber );
    else if ( inWidth == 4 )
        AppendTo( ioBytes, static_cast<std::uint32_t>( inNumber ) );
    else
        AppendTo( ioBytes, static_cast<std::uint16_t>( inNumber ) );
}

template<class T>
void AppendAs( std::string& ioBytes, const std::vector<std::uint32_t>& inNumbers )
{
    const auto begin = ioBytes.size();
    ioBytes.resize( begin + inNumbers.size() * sizeof( T ) );
    auto* to = ioBytes.data() + begin;
    for ( const auto number : inNumbers )
    {
        const auto narrow = static_cast<T>( number );
        std::memcpy( to, &narrow, sizeof( T ) );
        to += sizeof( T );
    }
}

/// A directory that is being put together: entries, and behind them the values that are too long for an entry.
class Directory
{
public:
    Directory( XTIFFWriter::XFormat inFormat, std::uint64_t inPosition, std::uint16_t inEntryCount )
        : itsWidths( GetWidths( inFormat ) ),
          itsLink( inPosition + itsWidths.count + inEntryCount * itsWidths.entry )
    {
        AppendWide( itsEntries, inEntryCount, itsWidths.count );
    }

    void AddShort( std::uint16_t inTag, std::uint16_t inValue, std::uint32_t inCount = 1 )
    {
        std::string values;
        for ( std::uint32_t i = 0; i < inCount; ++i )
            AppendTo( values, inValue );
        Add( inTag, kShortType, inCount, values );
    }

    void AddLong( std::uint16_t inTag, std::uint32_t inValue )
    {
        std::string value;
        AppendTo( value, inValue );
        Add( inTag, kLongType, 1, value );
    }

    /// A place in the file, or a number of bytes.
    void AddOffset( std::uint16_t inTag, std::uint64_t inValue )
    {
        std::string value;
        AppendWide( value, inValue, itsWidths.offset );
        Add( inTag, itsWidths.offset == 8 ? kLong8Type : kLongType, 1, value );
    }

    /// To three decimals, or as many as 32 bits have room for.
    void AddFraction( std::uint16_t inTag, double inValue )
    {
        constexpr double kMost = std::numeric_limits<std::uint32_t>::max();
        std::uint32_t divisor = 1000;
        while ( divisor > 1 && inValue * divisor > kMost )
            divisor /= 10;
        std::string value;
        AppendTo( value, static_cast<std::uint32_t>( std::llround( std::min( inValue * divisor, kMost ) ) ) );
        AppendTo( value, divisor );
        Add( inTag, kRationalType, 1, value );
    }

    std::string GetBytes() const
    {
        constexpr std::uint64_t kNoNextDirectory = 0;
        auto bytes = itsEntries;
        AppendWide( bytes, kNoNextDirectory, itsWidths.offset );
        return bytes + itsValues;
    }

    /// Where the offset of the next directory belongs.
    std::uint64_t GetLink() const { return itsLink; }

private:
    const Widths itsWidths;
    const std::uint64_t itsLink;
    std::string itsEntries;
    std::string itsValues;

    void Add( std::uint16_t inTag, std::uint16_t inType, std::uint32_t inCount, std::string inValues )
    {
        const auto room = itsWidths.offset;
        AppendTo( itsEntries, inTag );
        AppendTo( itsEntries, inType );
        AppendWide( itsEntries, inCount, room );
        // Values start at even offsets, as the format requires.
        inValues.resize( std::max<std::size_t>( inValues.size() + inValues.size() % 2, room ) );
        if ( inValues.size() > room )
        {
            AppendWide( itsEntries, itsLink + room + itsValues.size(), room );
            itsValues += inValues;
        }
        else
            itsEntries += inValues;
    }
};

Directory MakeDirectory(
    XTIFFWriter::XFormat inFormat, const WImageFormat& inPage, std::uint16_t inSampleFormat,
    std::uint64_t inPosition, std::uint64_t inSamplesPosition )
{
    const auto hasExtra = inPage.channels > 1;
    const auto hasResolution = inPage.HasResolution();
    const auto entryCount = 11 + ( hasExtra ? 1 : 0 ) + ( hasResolution ? 3 : 0 );

    // In ascending order of the tags.
    Directory directory( inFormat, inPosition, static_cast<std::uint16_t>( entryCount ) );
    directory.AddLong( Tag::kWidth, inPage.width );
    directory.AddLong( Tag::kHeight, inPage.height );
    directory.AddShort(
        Tag::kBitsPerSample, static_cast<std::uint16_t>( inPage.GetSampleSize() * 8 ), inPage.channels );
    directory.AddShort( Tag::kCompression, kNotCompressed );
    directory.AddShort( Tag::kPhotometric, kMinIsBlack );
    directory.AddOffset( Tag::kStripOffsets, inSamplesPosition );
    directory.AddShort( Tag::kSamplesPerPixel, static_cast<std::uint16_t>( inPage.channels ) );
    directory.AddLong( Tag::kRowsPerStrip, inPage.height );
    directory.AddOffset( Tag::kStripSizes, inPage.GetByteCount() );
    if ( hasResolution )
    {
        directory.AddFraction( Tag::kXResolution, kMicrometresPerCentimetre / inPage.pixelWidth );
        directory.AddFraction( Tag::kYResolution, kMicrometresPerCentimetre / inPage.pixelHeight );
    }
    directory.AddShort( Tag::kPlanarConfiguration, kInterleaved );
    if ( hasResolution )
        directory.AddShort( Tag::kResolutionUnit, kPerCentimetre );
    if ( hasExtra )
        directory.AddShort( kExtraSamples, 0, inPage.channels - 1 );
    directory.AddShort( Tag::kSampleFormat, inSampleFormat, inPage.channels );
    return directory;
}
} // namespace

XTIFFWriter::XFormat XTIFFWriter::GetFormat( const WImageFormat& inPageFormat, std::uint32_t inPages )
{
    const auto directorySize =
        MakeDirectory( kClassic, inPageFormat, kUnsignedFormat, 0, 0 ).GetBytes().size();
    const auto pageSize = inPageFormat.GetByteCount() + inPageFormat.GetByteCount() % 2 + directorySize;
    const auto isSmall = pageSize <= ( kMostClassicBytes - kClassicHeaderSize ) / inPages;
    return isSmall ? kClassic : kBig;
}

XTIFFWriter::XTIFFWriter( WFile& ioFile, XFormat inFormat ) : itsFile( ioFile ), itsFormat( inFormat )
{
    const auto offsetSize = GetWidths( inFormat ).offset;
    std::string header = std::endian::native == std::endian::little ? "II" : "MM";
    AppendTo<std::uint16_t>( header, inFormat == kBig ? 43 : 42 );
    if ( inFormat == kBig )
    {
        AppendTo( header, static_cast<std::uint16_t>( offsetSize ) );
        AppendTo<std::uint16_t>( header, 0 );
    }
    itsLink = header.size();
    AppendWide( header, 0, offsetSize );
    Append( header.data(), header.size() );
}

void XTIFFWriter::WritePage( const WImagePage& inPage )
{
    WritePage(
        inPage, inPage.type == WImageFormat::kFloat32 ? kFloatFormat : kUnsignedFormat,
        [&] { Append( inPage.samples.get(), inPage.GetByteCount() ); } );
}

WImageFormat XTIFFWriter::GetLabelFormat( const WImageFormat& inPage, XLabelType inType )
{
    auto format = inPage;
    format.channels = 1;
    format.type = inType == k16Bits ? WImageFormat::kUInt16 : WImageFormat::kFloat32;
    return format;
}

void XTIFFWriter::WriteLabels( const WImageFormat& inPage, XLabelType inType, const XGetLabels& inGetLabels )
{
    constexpr std::size_t kBytesAtOnce = 1024 * 1024;
    std::vector<std::uint32_t> labels( inPage.width );
    std::string bytes;
    const auto flush = [&]
    {
        Append( bytes.data(), bytes.size() );
        bytes.clear();
    };
    const auto append = [&]
    {
        for ( std::uint32_t row = 0; row < inPage.height; ++row )
        {
            std::ranges::fill( labels, 0u );
            inGetLabels( row, labels );
            if ( inType == k16Bits )
                AppendAs<std::uint16_t>( bytes, labels );
            else
                AppendAs<std::uint32_t>( bytes, labels );
            if ( bytes.size() >= kBytesAtOnce )
                flush();
        }
        flush();
    };
    WritePage( GetLabelFormat( inPage, inType ), kUnsignedFormat, append );
}

/// `inAppendSamples` appends as many bytes as a page of that format has.
void XTIFFWriter::WritePage(
    const WImageFormat& inPage, std::uint16_t inSampleFormat, const std::function<void()>& inAppendSamples )
{
    const auto samplesPosition = itsEnd;
    const auto position = itsEnd + inPage.GetByteCount() + inPage.GetByteCount() % 2;
    const auto directory = MakeDirectory( itsFormat, inPage, inSampleFormat, position, samplesPosition );
    const auto bytes = directory.GetBytes();
    if ( itsFormat == kClassic && position + bytes.size() > kMostClassicBytes )
        throw WImageError( "the pages exceed the 4 GiB limit of a TIFF file" );

    inAppendSamples();
    itsEnd = position;
    Append( bytes.data(), bytes.size() );

    std::string offset;
    AppendWide( offset, position, GetWidths( itsFormat ).offset );
    itsFile.WriteAt( itsLink, offset.data(), offset.size() );
    itsLink = directory.GetLink();
}

void XTIFFWriter::Append( const void* inBytes, std::uint64_t inCount )
{
    constexpr std::uint64_t kBytesAtOnce = 1024 * 1024;
    const auto* const bytes = static_cast<const std::byte*>( inBytes );
    XForEachChunk(
        inCount, kBytesAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inLast )
        { itsFile.WriteAt( itsEnd + inFirst, bytes + inFirst, inLast - inFirst ); } );
    itsEnd += inCount;
}
