#pragma once

#include <filesystem>
#include <string>

std::filesystem::path PathFromUTF8( const std::string& inText );
std::string PathToUTF8( const std::filesystem::path& inPath );
