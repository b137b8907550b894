#pragma once

#include "Files/WFile.h"

/// A new, empty file for reading and writing, which is deleted when it is closed, however the process ends.
/// If possible, it never has a name; otherwise its name ends in `.tmp`. Throws the errors of `WFile::Open`.
class KORVALE_API WTemporaryFile : public WFile
{
public:
    explicit WTemporaryFile( const std::filesystem::path& inFolder );

    /// Returns the disk space of a range to the file system if possible; the range then reads as zeros. The
    /// size is unchanged.
    static void ReturnSpace( const WFile& inFile, std::uint64_t inPosition, std::uint64_t inCount ) noexcept;

private:
    static std::intptr_t Create( const std::filesystem::path& inFolder );
};
