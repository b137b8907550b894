#pragma once

#include <string>

/// Checks the name of a file; returns the error, empty if there is none.
std::string CheckFileName( const std::string& inText );

/// Checks a whole number; returns the error, empty if there is none.
std::string CheckWholeNumber( const std::string& inText );

/// Checks a size in bytes; returns the error, empty if there is none.
std::string CheckByteCount( const std::string& inText );
