#pragma once

#include "NetJobs/XNetJobStatus.h"

#include <string>

/// The sections of the status page that show the state of a control service, as HTML in one line. At most the first
/// 200 nodes and clients in the order of their names are shown, disconnected ones before the others, so that the
/// length is limited.
std::string WriteStatusHTML( const XNetJobStatus& inStatus );
