#pragma once

#include <string>
#include <vector>

/// The images that match the patterns of a command line; names without wildcards are kept as they are. Throws WrongUsage
/// if a pattern matches no file.
std::vector<std::string> ExpandImageNames( const std::vector<std::string>& inNames );
