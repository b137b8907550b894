#pragma once

#include "WPlatform.h"

/// What the process's locale says about numbers. Safe from any thread, as far as the C library's `setlocale` is.
class KORVALE_API WLocale
{
public:
    /// The decimal point of the C library's current locale, or the one that was set here. A point of more than one
    /// byte is given as '.'.
    static char GetDecimalPoint();

    /// Uses a decimal point of one's own from now on, in place of the locale's; NUL goes back to that. A letter or a digit
    /// is none.
    static void SetDecimalPoint( char inPoint );

private:
    static char GetSystemDecimalPoint();
};
