#pragma once

#include "WPlatform.h"

/// Registers the classes of bridges. Called by `XClassRegistry::RegisterStandardClasses`.
void RegisterRemoteCallsClasses();
