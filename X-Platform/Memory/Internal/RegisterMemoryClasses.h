#pragma once

/// Registers the storable class of memory handles. Called by XClassRegistry::RegisterStandardClasses.
void RegisterMemoryClasses();
