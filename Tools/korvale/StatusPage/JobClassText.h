#pragma once

#include "Core/Storables/XVersion.h"

#include <string>

/// The description of a job class, or its number if this process has not registered it.
std::string DescribeJobClass( const XVersion& inClass );
