#pragma once

#include "Files/WFile.h"

/// A file with a secret, which only its owner and the system's administrators may read or change. Failures
/// throw WLastErrorException.
class KORVALE_API WPrivateFile : public WFile
{
public:
    /// Creates a file, which must not exist (system error 80). Mode 0600 on Linux, an access list on Windows.
    static WPrivateFile CreateNew( const std::filesystem::path& inPath );

    /// Creates a folder with the same restrictions. Mode 0700 on Linux.
    static void CreateFolder( const std::filesystem::path& inPath );

    /// Gives an existing folder the access rights of `CreateFolder`.
    static void RestrictFolder( const std::filesystem::path& inPath );

    /// Whether anyone except the user of this process and the administrators may read or change the open
    /// file.
    static bool IsOpenToOthers( const WFile& inFile );

private:
    explicit WPrivateFile( std::intptr_t inSystemHandle ) : WFile( inSystemHandle ) {}
};
