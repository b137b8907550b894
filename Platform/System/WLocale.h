#pragma once

#include "WPlatform.h"

/// The number format of the process's locale. Safe from any thread, as far as the C library's `setlocale` is.
class KORVALE_API WLocale
{
public:
    /// The decimal point of the C library's current locale, or the one set by SetDecimalPoint. A decimal
    /// point of more than one byte is returned as '.'.
    static char GetDecimalPoint();

    /// Overrides the locale's decimal point; NUL restores it. Letters and digits are not accepted.
    static void SetDecimalPoint( char inPoint );

private:
    static char GetSystemDecimalPoint();
};
