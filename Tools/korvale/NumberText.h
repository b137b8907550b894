#pragma once

#include <string>

/// Appends a number in the shortest form that reads back exactly, in any locale. Whole numbers up to 2^53 are written
/// with all their digits.
void AppendNumber( std::string& ioText, double inNumber );

/// As "0.25 s".
std::string FormatSeconds( double inSeconds );
