#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Collects the image files that names stand for: files, folders of images, and patterns.
class KORVALE_IMAGING_API XImageFinder
{
public:
    /// With `inIsRecursive`, folders stand for the images in their folders too.
    explicit XImageFinder( bool inIsRecursive ) : itsIsRecursive( inIsRecursive ) {}

    /// Adds the images that a name stands for, and returns how many there are.
    ///
    /// - A folder: its files whose first bytes are those of an image, in the order of the UTF-8 bytes of their paths,
    ///   folder by folder. Other files are counted, hidden ones (WFolderContents) left out. Files whose first bytes
    ///   cannot be read are added. Links to files are followed, links to folders within the folder are not.
    /// - A path with `*` or `?` that does not exist: the existing paths that match it, part by part (WWildcards), in the
    ///   same order, without hidden ones. Matching folders stand for their images, matching files need not be images.
    /// - Any other path: itself.
    std::uint64_t Add( const std::filesystem::path& inName );

    /// The files in the order in which they were added; named twice, a file is there twice.
    const std::vector<std::filesystem::path>& GetFiles() const { return itsFiles; }

    /// The number of files in folders that are not images.
    std::uint64_t GetSkippedCount() const { return itsSkippedCount; }

    struct XFailure
    {
        std::filesystem::path folder;
        std::string reason; ///< UTF-8
    };

    /// The folders that could not be read to their end.
    const std::vector<XFailure>& GetFailures() const { return itsFailures; }

private:
    using XPaths = std::vector<std::filesystem::path>;

    const bool itsIsRecursive;
    XPaths itsFiles;
    std::uint64_t itsSkippedCount = 0;
    std::vector<XFailure> itsFailures;

    void AddFolder( const std::filesystem::path& inFolder );
    void AddContents( const std::filesystem::path& inFolder, XPaths& ioFiles, XPaths& ioFolders );
    XPaths Match( const XPaths& inFolders, const std::filesystem::path& inPattern );
    XPaths Expand( const std::filesystem::path& inPattern );
};
