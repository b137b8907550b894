#include "System/WLocale.h"

#include <langinfo.h>

char WLocale::GetSystemDecimalPoint()
{
    const char* const point = nl_langinfo( RADIXCHAR );
    return point[0] != '\0' && point[1] == '\0' ? point[0] : '.';
}
