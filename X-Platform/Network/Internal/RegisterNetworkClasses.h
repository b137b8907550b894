#pragma once

#include "WPlatform.h"

/// Registers the storable classes of Network. Called by `XClassRegistry::RegisterStandardClasses`.
void RegisterNetworkClasses();
