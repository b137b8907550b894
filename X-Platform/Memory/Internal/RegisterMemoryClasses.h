#pragma once

/// Registers the storable classes of memory blocks. Called by XClassRegistry::RegisterStandardClasses.
void RegisterMemoryClasses();
