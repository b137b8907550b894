#pragma once

#include "Images/WTIFFBlockReader.h"
#include "Testing.h"

#include <type_traits>

/// A page of one or more channels from its samples.
template<class T>
WImagePage MakePage( std::uint32_t inWidth, const std::vector<T>& inSamples, std::uint32_t inChannels = 1 )
{
    WImagePage page;
    page.width = inWidth;
    page.channels = inChannels;
    page.height = static_cast<std::uint32_t>( inSamples.size() / inWidth / inChannels );
    page.type = std::is_same_v<T, std::uint8_t> ? WImagePage::kUInt8
        : std::is_same_v<T, std::uint16_t>      ? WImagePage::kUInt16
                                                : WImagePage::kFloat32;
    page.Allocate( std::numeric_limits<std::uint64_t>::max() );
    std::memcpy( page.samples.get(), inSamples.data(), page.GetByteCount() );
    return page;
}

/// The samples of the first page of a TIFF file, of that form, unpacked without the system's libraries whatever they are
/// good at.
inline WImagePage ReadBlocks( const std::filesystem::path& inPath, const WImageFormat& inForm )
{
    const WFile file( inPath, WFile::kRead );
    const auto header = WTIFFHeader::Read( file );
    const WTIFFDirectory tags( file, header, header.firstDirectory );
    WImagePage page;
    static_cast<WImageFormat&>( page ) = inForm;
    page.Allocate( std::numeric_limits<std::uint64_t>::max() );
    WTIFFBlockReader( file, header, tags, WTIFFSamples( tags ), page ).Read( []( double ) {} );
    return page;
}

/// Whole numbers from 0 up to `inLevels`, the last one not included.
template<class T>
std::vector<T> MakeNoise( std::mt19937& ioRandom, std::size_t inCount, std::uint32_t inLevels )
{
    std::vector<T> samples( inCount );
    for ( auto& sample : samples )
        sample = static_cast<T>( ioRandom() % inLevels );
    return samples;
}
