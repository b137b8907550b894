#pragma once

#include "KeptOverlay.h"
#include "OutputFiles.h"
#include "PageJob.h"
#include "WFilePath.h"

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// The overlays of all pages that are measured, drawn by jobs into files that take their places later.
class OverlayFiles
{
public:
    /// `inName` is the file for the one page of the one image, and ends in .png. Where there are several images their names
    /// come before that ending, and where an image has several pages their numbers do; images of one name are told apart
    /// by -2, -3, ... behind that. `inOthers` are the files that the program reads or writes besides.
    OverlayFiles(
        const std::string& inName, bool inHasSeveralImages, const std::vector<std::string>& inOthers );

    /// A job that draws a page, its objects numbered from there on. All that is referred to outlives the job, and so do
    /// these files. Throws WrongUsage when the file would be one of the others.
    std::unique_ptr<PageJob> MakeJob(
        const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount, KeptOverlay inOverlay,
        std::uint64_t inFirstNumber, WorkingMemory& ioMemory, ProgressDisplay& ioDisplay );

    /// The files, when all jobs have ended. Throws the first failure of a job.
    std::vector<CompleteFile> TakeFiles();

private:
    struct Page
    {
        CompleteFile file;
        PageResult result;
    };

    const std::string itsName;
    const bool itsHasSeveralImages;
    std::set<WFilePath::Key> itsOthers;
    std::set<std::string> itsTaken; ///< In small letters, for systems that do not tell capitals from them.
    std::map<std::string, std::uint32_t> itsCopies; ///< The last one tried of each name.
    std::deque<Page> itsPages;

    std::string MakeName( const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount );
    std::string TakeName( const std::string& inStart );
};
