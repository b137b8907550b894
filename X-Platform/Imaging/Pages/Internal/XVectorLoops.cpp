#include "Imaging/Pages/Internal/XVectorLoops.h"

bool& XUsesAVX2()
{
#if defined( __x86_64__ )
    static bool sUsesAVX2 = __builtin_cpu_supports( "avx2" );
#else
    static bool sUsesAVX2 = false;
#endif
    return sUsesAVX2;
}
