#include "System/WLocale.h"

#include <clocale>

char WLocale::GetSystemDecimalPoint()
{
    const char* const point = std::localeconv()->decimal_point;
    return point[0] != '\0' && point[1] == '\0' ? point[0] : '.';
}
