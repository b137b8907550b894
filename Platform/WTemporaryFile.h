#pragma once

#include "WFile.h"

/// A new, empty file for reading and writing that is gone as soon as it is closed, however the process ends. Where the
/// system allows it, it never has a name; otherwise one that ends in `.tmp`. Errors are those of `WFile::Open`.
class KORVALE_API WTemporaryFile : public WFile
{
public:
    explicit WTemporaryFile( const std::filesystem::path& inFolder );

private:
    static std::intptr_t Create( const std::filesystem::path& inFolder );
};
