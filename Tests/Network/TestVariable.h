#pragma once

#include <string>

/// Sets a variable of the process's environment; an empty value may remove it.
void SetVariable( const char* inName, const std::string& inValue );
