#include "Images/WTIFFPredictor.h"

#include "Images/WTIFFUnpacker.h"

#include <algorithm>
#include <bit>
#include <cstring>

// Writers store differences of neighbouring samples because they compress better. Kind 2 stores the
// difference to the sample to the left of the same channel, modulo the size of the sample; kind 3, for
// floats, first takes the bytes of a row apart by significance and then stores differences of bytes. Undoing
// both is a running sum along each row. Samples of the other byte order are swapped before they are summed;
// kind 3 defines its own order.

namespace
{
template<class T>
void SwapAll( T* ioSamples, std::size_t inCount )
{
    for ( std::size_t i = 0; i < inCount; ++i )
    {
        auto value = ioSamples[i];
        T swapped = 0;
        for ( std::size_t b = 0; b < sizeof( T ); ++b, value = static_cast<T>( value >> 8 ) )
            swapped = static_cast<T>( swapped << 8 | ( value & 0xFF ) );
        ioSamples[i] = swapped;
    }
}

/// Sums that stay in registers, for so many channels.
template<std::size_t kChannels, class T>
void SumRow( T* ioSamples, std::size_t inCount )
{
    T sums[kChannels]{};
    for ( std::size_t i = 0; i + kChannels <= inCount; i += kChannels )
        for ( std::size_t channel = 0; channel < kChannels; ++channel )
            ioSamples[i + channel] = sums[channel] = static_cast<T>( sums[channel] + ioSamples[i + channel] );
}

/// Adds to each sample those to the left of it in its channel.
template<class T>
void SumRow( T* ioSamples, std::size_t inCount, std::size_t inChannels )
{
    switch ( inChannels )
    {
    case 1:
        return SumRow<1>( ioSamples, inCount );
    case 3:
        return SumRow<3>( ioSamples, inCount );
    case 4:
        return SumRow<4>( ioSamples, inCount );
    default:
        for ( auto i = inChannels; i < inCount; ++i )
            ioSamples[i] = static_cast<T>( ioSamples[i] + ioSamples[i - inChannels] );
    }
}

/// PackBits has no differences by its own rules. Programs disagree about a file that declares some.
void CheckKind( std::uint64_t inKind, std::uint64_t inCompression, WImageFormat::SampleType inType )
{
    const auto name = "predictor " + std::to_string( inKind );
    if ( inCompression == WTIFFUnpacker::kPackBits )
        throw WImageError( name + " is not allowed with PackBits compression" );
    if ( inKind != 2 && inKind != 3 )
        throw WImageError( "unknown " + name + " (expected 1, 2 or 3)" );
    if ( inKind == 3 && inType != WImageFormat::kFloat32 )
        throw WImageError( name + " requires float samples" );
}
} // namespace

WTIFFPredictor::WTIFFPredictor(
    const WTIFFDirectory& inTags, bool inIsSwapped, WImageFormat::SampleType inType, std::uint64_t inWidth,
    std::uint32_t inChannels )
    : itsIsSwapped( inIsSwapped ), itsSampleSize( WImageFormat::GetSampleSize( inType ) ),
      itsSamples( inWidth * inChannels ), itsChannels( inChannels )
{
    const auto compression = inTags.GetNumber( WTIFFDirectory::kCompression, WTIFFUnpacker::kNone );
    if ( compression == WTIFFUnpacker::kNone )
        return; // What the tag says then has no meaning.
    itsKind = inTags.GetNumber( WTIFFDirectory::kPredictor, kNone );
    if ( itsKind != kNone )
        CheckKind( itsKind, compression, inType );
}

void WTIFFPredictor::Undo( std::byte* ioRows, std::uint64_t inRows )
{
    const auto rowSize = itsSamples * itsSampleSize;
    for ( auto* const end = ioRows + inRows * rowSize; ioRows < end; ioRows += rowSize )
        if ( itsKind == kFloatingPoint )
            UndoFloatingPoint( ioRows );
        else if ( itsSampleSize == 1 )
            UndoRow<std::uint8_t>( ioRows );
        else if ( itsSampleSize == 2 )
            UndoRow<std::uint16_t>( ioRows );
        else
            UndoRow<std::uint32_t>( ioRows );
}

template<class T>
void WTIFFPredictor::UndoRow( std::byte* ioRow ) const
{
    auto* const samples = reinterpret_cast<T*>( ioRow );
    if ( itsIsSwapped )
        SwapAll( samples, itsSamples );
    if ( itsKind == kHorizontal )
        SumRow( samples, itsSamples, itsChannels );
}

/// First come the highest bytes of all samples of the row, whatever the byte order of the file.
void WTIFFPredictor::UndoFloatingPoint( std::byte* ioRow )
{
    const auto size = itsSamples * itsSampleSize;
    SumRow( reinterpret_cast<std::uint8_t*>( ioRow ), size, itsChannels );
    itsRow.assign( ioRow, ioRow + size );
    const auto* const highest = itsRow.data();
    for ( std::size_t i = 0; i < itsSamples; ++i )
    {
        std::uint32_t number = 0;
        for ( std::size_t b = 0; b < sizeof( number ); ++b )
            number = number << 8 | static_cast<std::uint8_t>( highest[b * itsSamples + i] );
        std::memcpy( ioRow + i * sizeof( number ), &number, sizeof( number ) );
    }
}
