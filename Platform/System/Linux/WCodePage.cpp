#include "System/WCodePage.h"

// The system has no ANSI code page: Windows-1252 takes its place, whatever the locale.

std::wstring WCodePage::AnsiToWide( std::string_view inText )
{
    return Windows1252ToWide( inText );
}

std::string WCodePage::WideToAnsi( std::wstring_view inText )
{
    return WideToWindows1252( inText );
}
