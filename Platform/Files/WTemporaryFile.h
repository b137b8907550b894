#pragma once

#include "Files/WFile.h"

/// A new, empty file for reading and writing that is gone as soon as it is closed, however the process ends. Where the
/// system allows it, it never has a name; otherwise one that ends in `.tmp`. Errors are those of `WFile::Open`.
class KORVALE_API WTemporaryFile : public WFile
{
public:
    explicit WTemporaryFile( const std::filesystem::path& inFolder );

    /// Gives the space of bytes back to the disk, where the file system can: they are zeros then. The size stays.
    static void ReturnSpace( const WFile& inFile, std::uint64_t inPosition, std::uint64_t inCount ) noexcept;

private:
    static std::intptr_t Create( const std::filesystem::path& inFolder );
};
