#pragma once

/// Registers the storable messages with XClassRegistry. Called by `XClassRegistry::RegisterStandardClasses`;
/// further calls change nothing.
void RegisterMessagingClasses();
