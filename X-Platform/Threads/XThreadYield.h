#pragma once

#include "WNoSystemMacros.h"
#include "WPlatform.h"

/// Gives up the processor.
class KORVALE_API XThreadYield
{
public:
    void Yield();
};
