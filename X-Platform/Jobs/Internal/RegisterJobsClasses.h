#pragma once

/// Registers the storable classes of progress and jobs. Called by XClassRegistry::RegisterStandardClasses.
void RegisterJobsClasses();
