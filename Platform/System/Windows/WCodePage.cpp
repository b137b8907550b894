#include "System/WCodePage.h"

#include "Ground/XFail.h"
#include "System/WSystemError.h"

#include <climits>

#include <windows.h>

namespace
{

/// The system counts in 32 bits.
int GetCheckedLength( std::size_t inLength )
{
    if ( inLength > INT_MAX )
    {
        WSystemError::SetLast( WSystemError::kInvalidParameter );
        XThrowLastSystemError();
    }
    return static_cast<int>( inLength );
}

int CheckConverted( int inLength )
{
    if ( inLength <= 0 )
        XThrowLastSystemError();
    return inLength;
}

} // namespace

std::wstring WCodePage::AnsiToWide( std::string_view inText )
{
    const int length = GetCheckedLength( inText.size() );
    if ( length == 0 )
        return {};
    const int wideLength =
        CheckConverted( ::MultiByteToWideChar( CP_ACP, 0, inText.data(), length, nullptr, 0 ) );
    std::wstring wide( static_cast<std::size_t>( wideLength ), L'\0' );
    CheckConverted( ::MultiByteToWideChar( CP_ACP, 0, inText.data(), length, wide.data(), wideLength ) );
    return wide;
}

std::string WCodePage::WideToAnsi( std::wstring_view inText )
{
    const int wideLength = GetCheckedLength( inText.size() );
    if ( wideLength == 0 )
        return {};
    const int length = CheckConverted(
        ::WideCharToMultiByte( CP_ACP, 0, inText.data(), wideLength, nullptr, 0, nullptr, nullptr ) );
    std::string text( static_cast<std::size_t>( length ), '\0' );
    CheckConverted( ::WideCharToMultiByte(
        CP_ACP, 0, inText.data(), wideLength, text.data(), length, nullptr, nullptr ) );
    return text;
}
