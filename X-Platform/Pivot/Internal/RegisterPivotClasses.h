#pragma once

/// Registers the descriptor, every column class, the table and the accumulator with XClassRegistry. Called by
/// `XClassRegistry::RegisterStandardClasses`; further calls change nothing.
void RegisterPivotClasses();
