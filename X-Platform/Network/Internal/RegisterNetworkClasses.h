#pragma once

#include "WPlatform.h"

/// Registers the storable classes of the network. Called by `XClassRegistry::RegisterStandardClasses`.
void RegisterNetworkClasses();
