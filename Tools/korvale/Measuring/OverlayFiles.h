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

/// The overlays of all pages that are measured, drawn by jobs into files that take their places later. All names are
/// chosen, and their files checked, before anything is measured.
class OverlayFiles
{
public:
    /// `inName` is the file for the one page of the one image, and ends in .png. Where there are several images their names
    /// come before that ending, and where an image has several pages their numbers do; images of one name are told apart
    /// by -2, -3, ... behind that. `inOthers` are the files that the program reads or writes besides.
    OverlayFiles(
        const std::string& inName, bool inHasSeveralImages, const std::vector<std::string>& inOthers );

    /// Chooses the files of the next image. Throws WrongUsage when one would be one of the others or another overlay, and
    /// runtime_error when one could not be made or replaced now.
    void AddImage( const std::string& inImage, std::uint32_t inPageCount );

    /// The pages that an image was added with; images are counted from 0.
    std::size_t GetPageCount( std::size_t inImage ) const { return itsImages[inImage].size(); }

    /// The overlay of one page.
    struct Page
    {
        CompleteFile file; ///< Its name first; the job that draws it adds the rest.
        std::optional<Failure> failure;
    };

    /// Images and pages are counted from 0. The page stays where it is until the files are taken.
    Page& GetPage( std::size_t inImage, std::uint32_t inPage ) { return itsImages[inImage][inPage]; }

    /// What went wrong first, when all jobs have ended; empty: nothing. Throws the user's abort (1001).
    std::string GetFailure() const;

    /// The files that are complete, when all jobs have ended.
    std::vector<CompleteFile> TakeFiles();

private:
    using Image = std::deque<Page>;

    const std::string itsName;
    const bool itsHasSeveralImages;
    std::map<WFilePath::Key, std::string> itsFiles; ///< The others and the overlays.
    std::set<std::string>
        itsTaken; ///< Names in small letters, for systems that do not tell capitals from them.
    std::map<std::string, std::uint32_t> itsCopies; ///< The last one tried of each name, in small letters.
    std::deque<Image> itsImages;

    std::string MakeName( const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount );
    std::string TakeName( const std::string& inStart );
};
