// All of the system's headers before the library's.
#undef WIN32_LEAN_AND_MEAN
#include <windows.h>

#include "SystemMacros.h"

TEST( SystemHeadersFirstTest, MayStandBeforeTheLibrarys )
{
    UseNamesOfSystemMacros();
}
