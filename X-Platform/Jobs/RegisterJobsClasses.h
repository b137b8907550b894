#pragma once

#include "WPlatform.h"

/// Registers the storable classes of progress and jobs. Called by XClassRegistry::RegisterStandardClasses.
KORVALE_API void RegisterJobsClasses();
