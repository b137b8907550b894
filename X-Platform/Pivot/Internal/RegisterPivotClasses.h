#pragma once

/// Registers the descriptor, every column, the table and the accumulator with XClassRegistry. Called by
/// `XClassRegistry::RegisterStandardClasses`; calling it again changes nothing.
void RegisterPivotClasses();
