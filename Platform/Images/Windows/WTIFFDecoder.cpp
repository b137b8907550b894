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

void WTIFFDecoder::Decode(
    std::uint64_t inCompression, std::uint64_t, std::uint64_t, const WImageFile::Progress&, WImagePage& )
{
    throw WImageError(
        "its samples are compressed by " + GetCompressionName( inCompression ) +
        ", which cannot be read on Windows (LZW, deflate and PackBits can)" );
}
