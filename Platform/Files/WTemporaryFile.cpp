#include "Files/WTemporaryFile.h"

WTemporaryFile::WTemporaryFile( const std::filesystem::path& inFolder ) : WFile( Create( inFolder ) ) {}
