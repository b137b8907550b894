#pragma once

#include "WNoSystemMacros.h"
#include "WPlatform.h"

/// Yields the processor.
class KORVALE_API XThreadYield
{
public:
    void Yield();
};
