#include "Images/WTIFFSamples.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

// Samples whose bits do not fill bytes follow one another from the highest bit of each byte on, whatever the byte order
// of the file; only rows begin with a byte. Samples of 24 bits have the byte order of the file and are handled in the
// same way after WTIFFPredictor has put the highest byte where it belongs.
//
// Values that a 32-bit float cannot hold are rejected and not rounded if they are whole numbers: the labels of objects
// are such numbers, and two of them must not become one.

namespace
{
using Tags = WTIFFDirectory;

/// The value, where all samples of a pixel have the same one.
std::uint64_t GetCommonNumber( const Tags& inTags, Tags::Tag inTag, std::uint64_t inDefault )
{
    const auto numbers = inTags.GetNumbers( inTag, UINT16_MAX );
    if ( numbers.empty() )
        return inDefault;
    if ( std::ranges::any_of( numbers, [&]( auto inNumber ) { return inNumber != numbers.front(); } ) )
        throw WImageError( "its channels differ in sample type" );
    return numbers.front();
}

const char* GetTypeName( std::uint64_t inFormat )
{
    static constexpr const char* kNames[] = { "unsigned",  "unsigned", "signed",       "float",
                                              "undefined", "complex",  "complex float" };
    return inFormat < std::size( kNames ) ? kNames[inFormat] : "of unknown format";
}

std::string DescribeType( std::uint64_t inBits, std::uint64_t inFormat )
{
    return std::to_string( inBits ) + "-bit " + GetTypeName( inFormat );
}

/// IEEE 754 binary16.
float ConvertHalf( std::uint16_t inHalf )
{
    constexpr int kFractionBits = 10, kBias = 15, kSpecial = 31;
    const auto exponent = inHalf >> kFractionBits & kSpecial;
    const auto fraction = inHalf & ( ( 1 << kFractionBits ) - 1 );
    float size = 0;
    if ( exponent == kSpecial )
        size =
            fraction == 0 ? std::numeric_limits<float>::infinity() : std::numeric_limits<float>::quiet_NaN();
    else if ( exponent == 0 )
        size = std::ldexp( static_cast<float>( fraction ), 1 - kBias - kFractionBits );
    else
        size = std::ldexp(
            static_cast<float>( fraction + ( 1 << kFractionBits ) ), exponent - kBias - kFractionBits );
    return inHalf >> 15 ? -size : size;
}

template<class T>
T GetSample( const std::byte* inRow, std::size_t inIndex )
{
    T sample;
    std::memcpy( &sample, inRow + inIndex * sizeof( T ), sizeof( T ) );
    return sample;
}
} // namespace

constexpr std::uint64_t WTIFFSamples::kLargestWhole;

WTIFFSamples::WTIFFSamples( const WTIFFDirectory& inTags ) : itsBits( 0 ), itsFormat( kUnsigned )
{
    const auto bits = GetCommonNumber( inTags, Tags::kBitsPerSample, 1 );
    const auto format = GetCommonNumber( inTags, Tags::kSampleFormat, kUnsigned );
    const auto isWhole = format == kUnsigned || format == kUndefined || format == kSigned;
    const auto canBeWhole = isWhole && bits > 0 && ( bits <= 32 || bits == 64 );
    const auto canBeFloat = format == kFloat && ( bits == 16 || bits == 32 || bits == 64 );
    if ( !canBeWhole && !canBeFloat )
        throw WImageError(
            "its samples are " + DescribeType( bits, format ) +
            " (expected signed or unsigned of 1 to 32 or 64 bits, or float of 16, 32 or 64 bits)" );
    itsBits = static_cast<std::uint32_t>( bits );
    itsFormat = format == kUndefined ? kUnsigned : static_cast<Format>( format );
}

std::string WTIFFSamples::Describe( const WTIFFDirectory& inTags )
{
    return DescribeType(
        inTags.GetNumber( Tags::kBitsPerSample, 1 ), inTags.GetNumber( Tags::kSampleFormat, kUnsigned ) );
}

WImageFormat::SampleType WTIFFSamples::GetPageType() const
{
    if ( !IsUnsigned() || itsBits > 16 )
        return WImageFormat::kFloat32;
    return itsBits > 8 ? WImageFormat::kUInt16 : WImageFormat::kUInt8;
}

bool WTIFFSamples::IsDirect() const
{
    return IsUnsigned() ? itsBits == 8 || itsBits == 16 : IsFloat() && itsBits == 32;
}

std::uint64_t WTIFFSamples::GetRowSize( std::uint64_t inSamples ) const
{
    return inSamples > ( UINT64_MAX - 7 ) / itsBits ? UINT64_MAX / 8 : ( inSamples * itsBits + 7 ) / 8;
}

std::uint32_t WTIFFSamples::GetGrowth() const
{
    const auto bits = WImageFormat::GetSampleSize( GetPageType() ) * 8;
    return ( bits + itsBits - 1 ) / itsBits;
}

void WTIFFSamples::CopyBlock(
    const WImagePage::Block& inBlock, std::optional<std::uint32_t> inChannel, WImagePage& ioPage ) const
{
    if ( IsDirect() )
        return ioPage.CopyBlock( inBlock, inChannel );
    const std::uint64_t channels = inChannel ? 1 : ioPage.channels;
    const auto stored = GetRowSize( inBlock.width * channels );
    const auto columns = std::min( inBlock.width, ioPage.width - inBlock.left );
    const auto rows = std::min( inBlock.height, ioPage.height - inBlock.top );
    const auto count = static_cast<std::size_t>( columns * channels );
    const auto row = std::make_unique_for_overwrite<std::byte[]>( count * ioPage.GetSampleSize() );
    for ( std::uint32_t y = 0; y < rows; ++y )
    {
        ConvertRow( inBlock.samples + y * stored, count, row.get() );
        ioPage.CopyBlock( { row.get(), inBlock.left, inBlock.top + y, columns, 1 }, inChannel );
    }
}

void WTIFFSamples::ConvertRow( const std::byte* inRow, std::size_t inCount, std::byte* outRow ) const
{
    const auto unpack = [&]<class T>( std::type_identity<T> )
    {
        auto* const row = reinterpret_cast<T*>( outRow );
        if constexpr ( std::is_same_v<T, float> )
            ConvertToFloats( inRow, inCount, row );
        else
            UnpackBits( inRow, inCount, row );
    };
    VisitSampleType( GetPageType(), unpack );
}

template<class TTo>
void WTIFFSamples::UnpackBits( const std::byte* inRow, std::size_t inCount, TTo* outRow ) const
{
    const auto highest = std::uint64_t{ 1 } << ( itsBits - 1 );
    const auto mask = 2 * highest - 1;
    std::uint64_t bits = 0;
    std::uint32_t available = 0;
    bool isTooLarge = false;
    for ( std::size_t i = 0; i < inCount; ++i )
    {
        for ( ; available < itsBits; available += 8 )
            bits = bits << 8 | static_cast<std::uint8_t>( *inRow++ );
        available -= itsBits;
        const auto stored = bits >> available & mask;
        const auto number = itsIsInverted ? mask - stored : stored;
        if constexpr ( std::is_same_v<TTo, float> )
        {
            const auto isNegative = !IsUnsigned() && ( number & highest ) != 0;
            const auto value = static_cast<std::int64_t>( number ) -
                ( isNegative ? static_cast<std::int64_t>( mask ) + 1 : 0 );
            isTooLarge |= std::abs( value ) > static_cast<std::int64_t>( kLargestWhole );
            outRow[i] = static_cast<float>( value );
        }
        else
            outRow[i] = static_cast<TTo>( number );
    }
    if ( isTooLarge )
        RefuseValue();
}

template<class TFrom>
void WTIFFSamples::ConvertWhole( const std::byte* inRow, std::size_t inCount, float* outRow ) const
{
    const TFrom mask = itsIsInverted ? static_cast<TFrom>( ~TFrom{ 0 } ) : TFrom{ 0 };
    bool isTooLarge = false;
    for ( std::size_t i = 0; i < inCount; ++i )
    {
        const auto value = static_cast<TFrom>( GetSample<TFrom>( inRow, i ) ^ mask );
        if constexpr ( sizeof( TFrom ) > 2 )
        {
            constexpr auto kMost = static_cast<TFrom>( kLargestWhole );
            isTooLarge |= value > kMost;
            if constexpr ( std::is_signed_v<TFrom> )
                isTooLarge |= value < -kMost;
        }
        outRow[i] = static_cast<float>( value );
    }
    if ( isTooLarge )
        RefuseValue();
}

void WTIFFSamples::ConvertToFloats( const std::byte* inRow, std::size_t inCount, float* outRow ) const
{
    if ( IsFloat() && itsBits == 16 )
    {
        for ( std::size_t i = 0; i < inCount; ++i )
            outRow[i] = ConvertHalf( GetSample<std::uint16_t>( inRow, i ) );
        return;
    }
    if ( IsFloat() )
    {
        for ( std::size_t i = 0; i < inCount; ++i )
        {
            const auto value = GetSample<double>( inRow, i );
            if ( std::isfinite( value ) && std::abs( value ) > std::numeric_limits<float>::max() )
                RefuseValue();
            outRow[i] = static_cast<float>( value );
        }
        return;
    }
    switch ( itsBits )
    {
    case 8:
        return ConvertWhole<std::int8_t>( inRow, inCount, outRow );
    case 16:
        return ConvertWhole<std::int16_t>( inRow, inCount, outRow );
    case 32:
        return IsUnsigned() ? ConvertWhole<std::uint32_t>( inRow, inCount, outRow )
                            : ConvertWhole<std::int32_t>( inRow, inCount, outRow );
    case 64:
        return IsUnsigned() ? ConvertWhole<std::uint64_t>( inRow, inCount, outRow )
                            : ConvertWhole<std::int64_t>( inRow, inCount, outRow );
    default:
        return UnpackBits( inRow, inCount, outRow );
    }
}

void WTIFFSamples::RefuseValue() const
{
    throw WImageError(
        "its " + DescribeType( itsBits, itsFormat ) +
        ( IsFloat() ? " samples exceed the range of 32-bit floats"
                    : " samples exceed " + std::to_string( kLargestWhole ) +
                  ", above which 32-bit floats are not exact" ) );
}
