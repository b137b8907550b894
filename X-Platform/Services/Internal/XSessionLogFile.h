#pragma once

#include "Core/Strings/XString.h"

#include <filesystem>
#include <fstream>

/// The file of a session log: appended to, renamed to FILE.1, FILE.2 and so on when it has grown too large,
/// and opened again when it has gone away or could not be written. Internal to the session log. Errors are
/// told by results, not thrown: a program goes on without its log.
class XSessionLogFile
{
public:
    XSessionLogFile( std::filesystem::path inPath, std::uint64_t inMaxBytes, unsigned inOldFiles );

    /// Appends and hands it to the system. False if that failed; then none of it is counted as written, and
    /// what has been, on a full disk, is taken back.
    bool Write( const std::string& inText );

private:
    bool Open();
    bool HasGone() const;
    void TakeBack( std::uint64_t inLength );
    void Rotate();
    std::filesystem::path GetOldPath( unsigned inNumber ) const;

    const std::filesystem::path itsPath;
    const std::uint64_t itsMaxBytes;
    const unsigned itsOldFiles;
    std::ofstream itsFile;
};
