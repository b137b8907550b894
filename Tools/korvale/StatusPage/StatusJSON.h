#pragma once

#include "NetJobs/XNetJobStatus.h"

#include <string>

/// The state of a control service as JSON, ending with a line break: for `korvale status --json` and `/status.json`.
std::string WriteStatusJSON( const XNetJobStatus& inStatus );

/// A count of ten seconds as jobs per second with one decimal place.
std::string WriteJobRate( std::uint64_t inJobsInTenSeconds );
