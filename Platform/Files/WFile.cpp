#include "Files/WFile.h"

#include "Ground/XFail.h"
#include "System/WSystemError.h"

#include <algorithm>
#include <utility>

namespace
{

/// What every system transfers at once.
constexpr std::uint64_t kLongestTransfer = 0x40000000;

} // namespace

WFile::WFile( const std::filesystem::path& inPath, Mode inMode )
{
    Open( inPath, inMode );
}

WFile::WFile( WFile&& inOther ) noexcept
{
    *this = std::move( inOther );
}

WFile& WFile::operator=( WFile&& inOther ) noexcept
{
    if ( this == &inOther )
        return *this;
    CloseQuietly();
    itsHandle = std::exchange( inOther.itsHandle, kNoHandle );
    itsHasPositions = inOther.itsHasPositions;
    itsDevicePosition = inOther.itsDevicePosition;
    return *this;
}

WFile::~WFile()
{
    CloseQuietly();
}

void WFile::Close()
{
    if ( !CloseQuietly() )
        XThrowLastSystemError();
}

std::uint64_t WFile::ReadAt( std::uint64_t inPosition, void* outData, std::uint64_t inCount ) const
{
    CheckDevicePosition( inPosition );
    auto* data = static_cast<char*>( outData );
    std::uint64_t done = 0;
    while ( done < inCount )
    {
        const auto read =
            ReadSome( inPosition + done, data + done, std::min( inCount - done, kLongestTransfer ) );
        if ( read == 0 )
            break;
        AdvanceDevicePosition( read );
        done += read;
    }
    return done;
}

void WFile::WriteAt( std::uint64_t inPosition, const void* inData, std::uint64_t inCount )
{
    CheckDevicePosition( inPosition );
    const auto* data = static_cast<const char*>( inData );
    std::uint64_t done = 0;
    while ( done < inCount )
    {
        const auto written =
            WriteSome( inPosition + done, data + done, std::min( inCount - done, kLongestTransfer ) );
        AdvanceDevicePosition( written );
        done += written;
    }
}

void WFile::CheckDevicePosition( std::uint64_t inPosition ) const
{
    if ( itsHasPositions || inPosition == itsDevicePosition )
        return;
    WSystemError::SetLast( WSystemError::kSeekOnDevice );
    XThrowLastSystemError();
}

void WFile::AdvanceDevicePosition( std::uint64_t inCount ) const
{
    if ( !itsHasPositions )
        itsDevicePosition += inCount;
}
