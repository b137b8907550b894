#pragma once

#include "Core/XTypes.h"

/// Registers the storable messages with XClassRegistry. Called by `XClassRegistry::RegisterStandardClasses`;
/// calling it again changes nothing.
KORVALE_API void RegisterMessagingClasses();
