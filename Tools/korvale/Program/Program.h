#pragma once

#include "Terminal/Session.h"

#include <vector>

/// Runs the program with these arguments (UTF-8, without the program's name) and returns its exit status.
/// Call it on the main thread, with the library initialised.
int RunProgram( const std::vector<std::string>& inArguments, Terminal& ioTerminal );
