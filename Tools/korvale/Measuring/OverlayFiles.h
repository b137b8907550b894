#pragma once

#include "Files/WFilePath.h"
#include "Outputs/OutputFiles.h"
#include "Support/Failure.h"

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The overlays of all measured pages, drawn by jobs into files that are renamed into place later. All names
/// are chosen, and their files checked, before the measurement.
class OverlayFiles
{
public:
    /// `inName` is the file for a single page of a single image and ends in .png. For several images, their
    /// names are inserted before that ending, and for an image of several pages, the page numbers; images of
    /// the same name are distinguished by -2, -3, ... after the name. `inOthers` are the other files that the
    /// program reads or writes.
    OverlayFiles(
        const std::string& inName, bool inHasSeveralImages, const std::vector<std::string>& inOthers );

    /// Chooses the files of the next image. Throws WrongUsage if one is among the other files or is another
    /// overlay, and runtime_error if one could not be created or replaced now.
    void AddImage( const std::string& inImage, std::uint32_t inPageCount );

    /// The number of pages given for an image; images are counted from 0.
    std::size_t GetPageCount( std::size_t inImage ) const { return itsImages[inImage].size(); }

    /// The overlay of one page.
    struct Page
    {
        CompleteFile file; ///< with the name; the job that draws it adds the rest
        std::optional<Failure> failure;
    };

    /// Images and pages are counted from 0. The reference is valid until TakeFiles.
    Page& GetPage( std::size_t inImage, std::uint32_t inPage ) { return itsImages[inImage][inPage]; }

    /// Call it when all jobs have ended. Returns the first failure; empty if there is none. An abort throws
    /// 1001.
    std::string GetFailure() const;

    /// Returns the complete files. Call it when all jobs have ended.
    std::vector<CompleteFile> TakeFiles();

private:
    using Image = std::deque<Page>;

    const std::string itsName;
    const bool itsHasSeveralImages;
    std::map<WFilePath::Key, std::string> itsFiles; // the others and the overlays
    std::set<std::string> itsTaken;                 // names in lower case, for file systems that ignore case
    std::map<std::string, std::uint32_t> itsCopies; // the last number tried for each name, in lower case
    std::deque<Image> itsImages;

    std::string MakeName( const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount );
    std::string TakeName( const std::string& inStart );
};
