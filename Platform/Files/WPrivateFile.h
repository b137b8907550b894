#pragma once

#include "Files/WFile.h"

/// A file with a secret: only its owner, and the system's administrators, may read or change it. Failures throw
/// WLastErrorException.
class KORVALE_API WPrivateFile : public WFile
{
public:
    /// Makes a file that does not exist yet (system error 80). Mode 0600 on Linux, an access list on Windows.
    static WPrivateFile CreateNew( const std::filesystem::path& inPath );

    /// Makes a folder, likewise. Mode 0700 on Linux.
    static void CreateFolder( const std::filesystem::path& inPath );

    /// Makes a folder one that `CreateFolder` could have made.
    static void RestrictFolder( const std::filesystem::path& inPath );

    /// Whether others than the user of this process and the administrators may read or change the open file.
    static bool IsOpenToOthers( const WFile& inFile );

private:
    explicit WPrivateFile( std::intptr_t inSystemHandle ) : WFile( inSystemHandle ) {}
};
