#pragma once

#include "WPlatform.h"

/// Gives up the processor.
class KORVALE_API XThreadYield
{
public:
    void Yield();
};
