#pragma once

/// Registers the storable classes of the services. Called by XClassRegistry::RegisterStandardClasses.
void RegisterServicesClasses();
