#pragma once

#include "WPlatform.h"

/// Registers the storable classes of memory blocks. Called by XClassRegistry::RegisterStandardClasses.
KORVALE_API void RegisterMemoryClasses();
