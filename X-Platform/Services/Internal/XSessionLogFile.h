#pragma once

#include "Core/Strings/XString.h"

#include <filesystem>
#include <fstream>

/// The file of a session log: appended to, renamed to FILE.1, FILE.2 and so on when it has grown too large,
/// and reopened if it has been removed or could not be written. Internal to the session log. Errors are
/// returned, not thrown: a program continues without its log.
class XSessionLogFile
{
public:
    XSessionLogFile( std::filesystem::path inPath, std::uint64_t inMaxBytes, unsigned inOldFiles );

    /// Appends the text and passes it to the system. Returns false on failure; then none of the text counts
    /// as written, and whatever part was written, as on a full disk, is removed again.
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
