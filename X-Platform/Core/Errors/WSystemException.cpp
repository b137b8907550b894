#include "Core/Errors/WSystemException.h"

#include "System/WSystemError.h"

#include <cinttypes>
#include <cstdio>
#include <string>

namespace
{

/// Results and statuses are known by their hexadecimal form, plain error codes by their decimal one.
std::string DescribeUnknownCode( std::uint32_t inCode )
{
    char text[32];
    const bool isPlain = inCode < WSystemError::kErrnoFlag;
    std::snprintf(
        text, sizeof( text ), isPlain ? "system error %" PRIu32 : "system error 0x%08" PRIX32, inCode );
    return text;
}

} // namespace

WSystemException::WSystemException(
    std::uint32_t inErrorNumber, std::uint32_t inSystemCode, std::uint32_t inMessageCode )
    : XException( inErrorNumber ), itsSystemCode( inSystemCode ), itsMessageCode( inMessageCode )
{
}

WSystemException::~WSystemException() = default;

XString WSystemException::GetRawErrorMessage() const
{
    auto text = WSystemError::GetText( itsMessageCode );
    const bool hasLibraryText = GetErrorNumber() != itsSystemCode;
    if ( text.empty() && hasLibraryText )
        return XException::GetRawErrorMessage();
    if ( text.empty() )
        text = DescribeUnknownCode( itsSystemCode );
    return XString( text + " (" + std::to_string( GetErrorNumber() ) + ")" );
}
