#pragma once

#include <string>

/// For options that name a file: what is wrong with the name, empty if nothing.
std::string CheckFileName( const std::string& inText );

/// For options that take a whole number: what is wrong with the text, empty if nothing.
std::string CheckWholeNumber( const std::string& inText );

/// For options that take a number of bytes: what is wrong with the text, empty if nothing.
std::string CheckByteCount( const std::string& inText );
