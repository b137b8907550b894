#include "Images/WTIFFDecoder.h"

class WTIFFDecoder::Implementation
{
};

bool WTIFFDecoder::IsBetterAt( std::uint64_t )
{
    return false;
}

WTIFFDecoder::WTIFFDecoder( const std::filesystem::path& ) {}

WTIFFDecoder::~WTIFFDecoder() = default;

void WTIFFDecoder::Decode( const Source& inSource, const WImageFile::Progress&, WImagePage& )
{
    throw WImageError(
        "its samples are compressed by " + GetCompressionName( inSource.compression ) +
        ", which cannot be read on Windows (LZW, deflate and PackBits can)" );
}
