#pragma once

#include "NetJobs/XNetJobStatus.h"

#include <string>

/// The state of a control service in the text format of Prometheus, version 0.0.4. Nodes and clients have the labels `id`,
/// `name` and `computer`; names alone need not be unique.
std::string WriteStatusMetrics( const XNetJobStatus& inStatus );
