#pragma once

#include "Core/XTypes.h"

/// Registers the descriptor, every column, the table and the accumulator with XClassRegistry. Called by
/// `XClassRegistry::RegisterStandardClasses`; calling it again changes nothing.
KORVALE_API void RegisterPivotClasses();
