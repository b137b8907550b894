#include "System/WFutex.h"

void WFutex::Pause()
{
#if defined( __x86_64__ )
    __builtin_ia32_pause();
#endif
}
