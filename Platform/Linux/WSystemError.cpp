#include "WSystemError.h"

namespace
{

thread_local std::uint32_t tLastError = WSystemError::kNoError;

} // namespace

std::uint32_t WSystemError::GetLast()
{
    return tLastError;
}

void WSystemError::SetLast( std::uint32_t inCode )
{
    tLastError = inCode;
}

std::uint32_t WSystemError::FromErrorCode( const std::error_code& inError )
{
    return FromErrno( inError.value() );
}

std::string WSystemError::GetText( std::uint32_t inCode )
{
    const int error = ToErrno( inCode );
    return error == 0 ? std::string() : std::generic_category().message( error );
}
