#include "Images/WTIFFDecoder.h"

std::string WTIFFDecoder::GetCompressionName( std::uint64_t inCompression )
{
    switch ( inCompression )
    {
    case 2:
    case 3:
    case 4:
        return "a fax code";
    case 6:
    case 7:
        return "JPEG";
    case 33003:
    case 33005:
    case 34712:
        return "JPEG 2000";
    case 34661:
        return "JBIG";
    case 34887:
        return "LERC";
    case 34925:
        return "LZMA";
    case 34926:
    case 50000:
        return "Zstandard";
    case 34927:
    case 50001:
        return "WebP";
    default:
        return "an unknown method (" + std::to_string( inCompression ) + ")";
    }
}
