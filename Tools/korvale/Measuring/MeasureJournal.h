#pragma once

#include "Core/Times/XTimer.h"
#include "Files/WFile.h"
#include "Measuring/JournalRecords.h"
#include "Threads/XMutex.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

class MeasurePageResult;
class Session;
class XMemStream;

/// The finished pages of a measurement, in a file beside its output, so that an interrupted run can be continued. The file
/// is removed when the output is in place, or if it has no page.
///
/// If the process is killed, no page that has been added is lost. After a power failure the pages of the last ten seconds
/// may be missing. If the file cannot be written, the user is warned once and no further page is kept. If two processes use
/// one journal at a time, pages may be missing too, but none is wrong.
/// Threads: any for adding and reading pages; the others one at a time.
class MeasureJournal
{
public:
    /// An image in the journal, valid as long as that.
    struct Image;

    /// Opens the journal `inName` (UTF-8), which may be missing, and cuts off what is torn or damaged. Throws runtime_error
    /// if the file is not a journal or belongs to a run with other conditions, 1001 if the user aborts, and the errors of
    /// WFile.
    MeasureJournal(
        const std::string& inName, const JournalRecords::Conditions& inConditions, Session& ioSession );
    MeasureJournal( const MeasureJournal& ) = delete;
    MeasureJournal& operator=( const MeasureJournal& ) = delete;
    /// Reports that the journal is kept, or removes it if it has no page.
    ~MeasureJournal();

    /// Returns the image that is read from these files.
    Image& FindImage( const JournalRecords::Files& inFiles );

    /// Whether the journal has pages of an image whose first file has the same path, but another size, time or checksum, or
    /// consists of other files.
    bool HasOtherImage( const JournalRecords::Files& inFiles ) const;

    /// The checksum of the background that was subtracted from a page, 0 without; no value if the page is not finished.
    /// Pages that are added later are not found.
    static std::optional<std::uint64_t> FindBackground( const Image& inImage, std::uint32_t inPage );

    /// The result of a page that has been found. Throws 1005 if the file has been changed, and the errors of WFile.
    std::unique_ptr<MeasurePageResult> ReadPage( const Image& inImage, std::uint32_t inPage ) const;

    /// Adds a finished page.
    void AddPage(
        Image& ioImage, std::uint32_t inPage, std::uint64_t inBackground, const MeasurePageResult& inResult );

    /// Call it often: about every ten seconds it waits until what has been added is on the disk.
    void FlushSometimes();

    /// Removes the file.
    void Remove();

private:
    const std::string itsName;
    const std::filesystem::path itsPath;
    Session& itsSession;
    std::map<JournalRecords::Files, std::unique_ptr<Image>> itsImages;
    std::set<std::string> itsPaths; // of the first files of images with finished pages
    WFile itsFile;                  // closed after Remove
    XTimer itsFlushTimer;

    XMutex itsMutex;          // guards the following
    std::uint64_t itsEnd = 0; // of the last complete record
    bool itsHasPages = false;
    bool itsHasUnflushed = false;
    bool itsHasFailed = false;

    void Open( const JournalRecords::Conditions& inConditions );
    void TakeContents( JournalRecords::Contents inContents );
    void Begin( const JournalRecords::Conditions& inConditions );
    void CutOff();
    std::uint64_t StoreImage( Image& ioImage );
    void Append( const XMemStream& inRecord );
    void ReportFailure();
};
