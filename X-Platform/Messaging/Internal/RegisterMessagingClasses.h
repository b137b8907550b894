#pragma once

/// Registers the storable messages with XClassRegistry. Called by `XClassRegistry::RegisterStandardClasses`;
/// calling it again changes nothing.
void RegisterMessagingClasses();
