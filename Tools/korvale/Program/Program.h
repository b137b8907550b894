#pragma once

#include "Terminal/Session.h"

#include <vector>

/// Runs the program with these arguments (UTF-8, the program's name left out) and returns its exit status. Called on the
/// main thread, with the library initialised.
int RunProgram( const std::vector<std::string>& inArguments, Terminal& ioTerminal );
