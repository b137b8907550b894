#include "System/WLocale.h"

#include <atomic>

namespace
{
std::atomic<char> sOwnPoint = '\0';
}

char WLocale::GetDecimalPoint()
{
    const char point = sOwnPoint.load( std::memory_order_relaxed );
    return point ? point : GetSystemDecimalPoint();
}

void WLocale::SetDecimalPoint( char inPoint )
{
    sOwnPoint.store( inPoint, std::memory_order_relaxed );
}
