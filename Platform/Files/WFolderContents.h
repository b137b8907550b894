#pragma once

#include "WPlatform.h"

#include <filesystem>
#include <system_error>
#include <vector>

/// The files and folders in a folder.
/// Threads: any thread.
class KORVALE_API WFolderContents
{
public:
    enum Kind
    {
        kFile, ///< also a link to a file
        kFolder,
        kLinkedFolder, ///< a link to a folder
        kOther         ///< a device or a pipe, or a link that leads nowhere
    };

    struct Entry
    {
        std::filesystem::path name;
        Kind kind;
    };

    /// Lists a folder in any order, without hidden files and folders: those whose names begin with a point, on Windows
    /// also those with the attribute. Sets `outError` if the folder cannot be read to its end.
    static std::vector<Entry> List( const std::filesystem::path& inFolder, std::error_code& outError );

private:
    static bool IsHiddenName( const std::filesystem::path& inName );
};
