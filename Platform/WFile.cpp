#include "WFile.h"

#include "Core/XFail.h"
#include "WSystemError.h"

#include <utility>

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

void WFile::CheckDevicePosition( std::uint64_t inPosition ) const
{
    if ( inPosition == itsDevicePosition )
        return;
    WSystemError::SetLast( WSystemError::kSeekOnDevice );
    XThrowLastSystemError();
}

void WFile::AdvanceDevicePosition( std::uint64_t inCount ) const
{
    if ( !itsHasPositions )
        itsDevicePosition += inCount;
}
