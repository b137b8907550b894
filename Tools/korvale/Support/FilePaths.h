#pragma once

#include <filesystem>
#include <string>

/// Paths in the program are UTF-8 text; these functions convert them for the file system and back.
std::filesystem::path PathFromUTF8( const std::string& inText );
std::string PathToUTF8( const std::filesystem::path& inPath );
