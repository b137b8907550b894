#include "Images/WTIFFUnpacker.h"

#include "Images/WDeflateUnpacker.h"
#include "Images/WImageFile.h"
#include "Images/WLZWUnpacker.h"
#include "Images/WPackBitsUnpacker.h"

namespace
{
class PlainUnpacker : public WTIFFUnpacker
{
public:
    explicit PlainUnpacker( WTIFFPackedBytes inPacked ) : WTIFFUnpacker( std::move( inPacked ) ) {}

    void Unpack( std::byte* outBytes, std::size_t inCount ) override
    {
        if ( !itsPacked.Take( outBytes, inCount ) )
            RefuseTooShort();
    }
};
} // namespace

std::uint64_t WTIFFUnpacker::GetCompression( const WTIFFDirectory& inTags )
{
    return inTags.GetNumber( WTIFFDirectory::kCompression, kNone );
}

bool WTIFFUnpacker::CanUnpack( std::uint64_t inCompression )
{
    switch ( inCompression )
    {
    case kNone:
    case kLZW:
    case kDeflate:
    case kPackBits:
    case kOldDeflate:
        return true;
    default:
        return false;
    }
}

std::unique_ptr<WTIFFUnpacker>
WTIFFUnpacker::Make( std::uint64_t inCompression, const WFile& inFile, bool inIsReversed )
{
    WTIFFPackedBytes packed( inFile, inIsReversed );
    switch ( inCompression )
    {
    case kNone:
        return std::make_unique<PlainUnpacker>( std::move( packed ) );
    case kLZW:
        return std::make_unique<WLZWUnpacker>( std::move( packed ) );
    case kPackBits:
        return std::make_unique<WPackBitsUnpacker>( std::move( packed ) );
    default:
        return std::make_unique<WDeflateUnpacker>( std::move( packed ) );
    }
}

void WTIFFUnpacker::Start( std::uint64_t inPosition, std::uint64_t inCount )
{
    itsPacked.Start( inPosition, inCount );
    Reset();
}

void WTIFFUnpacker::Finish( std::uint64_t ) {}

void WTIFFUnpacker::Refuse( const std::string& inReason )
{
    throw WImageError( "its compressed samples are damaged: " + inReason );
}

void WTIFFUnpacker::RefuseTooShort()
{
    throw WImageError( "one of its strips or tiles is too short" );
}
