// All of the system's headers behind the library's.
#undef WIN32_LEAN_AND_MEAN

#include <windows.h>

#include "SystemMacros.h"

TEST( SystemHeadersLastTest, MayStandBehindTheLibrarys )
{
    UseNamesOfSystemMacros();
}
