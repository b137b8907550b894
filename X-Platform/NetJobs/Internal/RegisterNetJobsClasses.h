#pragma once

/// Registers the storable classes of network jobs. Called by XClassRegistry::RegisterStandardClasses.
void RegisterNetJobsClasses();
