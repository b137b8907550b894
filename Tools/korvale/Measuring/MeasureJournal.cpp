#include "Measuring/MeasureJournal.h"

#include "Core/Streams/XFileStream.h"
#include "Core/Streams/XMemStream.h"
#include "Files/WFilePath.h"
#include "Measuring/MeasurePageJob.h"
#include "Support/Failure.h"
#include "Support/FilePaths.h"
#include "Terminal/Session.h"
#include "Threads/XStopThreadException.h"

#include <stdexcept>
#include <utility>

// Pages are written by the threads that have measured them, each record with one transfer under the mutex, so that a record
// is complete or the last one. Nothing is flushed per page: what a killed process has written stays in the system's cache.
// Only a power failure loses that; the command's thread therefore flushes every ten seconds, while workers continue. A lost
// block within the file ends the intact part when the journal is opened again.

namespace
{
constexpr std::uint32_t kFlushPeriodMS = 10'000;
}

struct MeasureJournal::Image
{
    JournalRecords::Image stored;     // what had been finished when the journal was opened; not changed
    std::optional<std::uint64_t> key; // once it has a record; guarded by the journal's mutex
};

MeasureJournal::MeasureJournal(
    const std::string& inName, const JournalRecords::Conditions& inConditions, Session& ioSession )
    : itsName( inName ), itsPath( PathFromUTF8( inName ) ), itsSession( ioSession ),
      itsFlushTimer( kFlushPeriodMS )
{
    MeasurePageJob::Register();
    Open( inConditions );
}

MeasureJournal::~MeasureJournal()
{
    if ( !itsFile.IsOpen() )
        return;
    try
    {
        if ( itsHasPages )
            itsSession.ReportInfo(
                "the finished pages are kept in " + itsName + ": the same command continues with them" );
        else
            Remove();
    }
    catch ( ... )
    {
        // The file is found without the message.
    }
}

void MeasureJournal::Open( const JournalRecords::Conditions& inConditions )
{
    if ( WFile::IsDevice( itsPath ) )
        throw std::runtime_error( "it is a pipe or device, not a file" );
    if ( WFilePath::Exists( itsPath ) )
    {
        XFileStream stream( itsPath );
        TakeContents( JournalRecords::Read( stream, inConditions ) );
        itsFile.Open( itsPath, WFile::kReadWrite );
    }
    else
        itsFile.Open( itsPath, WFile::kCreateNew );
    CutOff();
    if ( itsEnd == 0 )
        Begin( inConditions );
}

void MeasureJournal::TakeContents( JournalRecords::Contents inContents )
{
    itsEnd = inContents.end;
    USize64 pages = 0;
    for ( auto& [key, stored] : inContents.images )
    {
        pages += stored.pages.size();
        if ( !stored.pages.empty() )
            itsPaths.insert( stored.files.front().path );
        auto files = stored.files;
        itsImages[std::move( files )] = std::make_unique<Image>( Image{ std::move( stored ), key } );
    }
    itsHasPages = pages > 0;
    if ( itsHasPages )
        itsSession.ReportInfo(
            "continues with " + std::to_string( pages ) +
            ( pages == 1 ? " finished page of " : " finished pages of " ) + itsName );
}

/// What follows the intact part would be taken for a part of the next record.
void MeasureJournal::CutOff()
{
    const std::uint64_t size = itsFile.GetSize();
    if ( size <= itsEnd )
        return;
    itsFile.SetSize( itsEnd );
    itsSession.LogInfo(
        itsName + ": cut off " + std::to_string( size - itsEnd ) + " bytes of incomplete pages" );
}

/// Flushes the header, so that a journal with records always has a complete one.
void MeasureJournal::Begin( const JournalRecords::Conditions& inConditions )
{
    try
    {
        const auto header = JournalRecords::MakeStream();
        JournalRecords::WriteHeader( *header, inConditions );
        itsFile.WriteAt( 0, header->GetData(), header->GetLength() );
        itsFile.Flush();
        itsEnd = header->GetLength();
    }
    catch ( ... )
    {
        itsFile = {};
        WFilePath::Remove( itsPath );
        throw;
    }
}

void MeasureJournal::Remove()
{
    itsFile.Close();
    if ( !WFilePath::Remove( itsPath ) )
        itsSession.ReportWarning( "cannot remove " + itsName + ", which is no longer needed" );
}

// ---- Images and pages

MeasureJournal::Image& MeasureJournal::FindImage( const JournalRecords::Files& inFiles )
{
    auto& image = itsImages[inFiles];
    if ( !image )
        image = std::make_unique<Image>( Image{ { inFiles, {} }, std::nullopt } );
    return *image;
}

bool MeasureJournal::HasOtherImage( const JournalRecords::Files& inFiles ) const
{
    return itsPaths.contains( inFiles.front().path ) && !itsImages.contains( inFiles );
}

std::optional<std::uint64_t> MeasureJournal::FindBackground( const Image& inImage, std::uint32_t inPage )
{
    const auto found = inImage.stored.pages.find( inPage );
    return found == inImage.stored.pages.end() ? std::nullopt : std::optional( found->second.background );
}

std::unique_ptr<MeasurePageResult>
MeasureJournal::ReadPage( const Image& inImage, std::uint32_t inPage ) const
{
    return JournalRecords::ReadPage( itsFile, inImage.stored.pages.at( inPage ) );
}

void MeasureJournal::AddPage(
    Image& ioImage, std::uint32_t inPage, std::uint64_t inBackground, const MeasurePageResult& inResult )
{
    try
    {
        const std::uint64_t image = StoreImage( ioImage );
        const auto record = JournalRecords::MakeStream();
        JournalRecords::WritePage( *record, { image, inPage, inBackground }, inResult );
        if ( record->GetLength() > JournalRecords::kPrefixSize + JournalRecords::kMostBytes )
            return itsSession.LogInfo( "a page is too large for " + itsName );
        Append( *record );
        const XThreadLock lock( itsMutex );
        itsHasPages |= !itsHasFailed;
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
        ReportFailure();
    }
}

/// Returns the key of the image, which gets a record with its first page.
std::uint64_t MeasureJournal::StoreImage( Image& ioImage )
{
    const XThreadLock lock( itsMutex );
    if ( !ioImage.key )
    {
        const auto record = JournalRecords::MakeStream();
        const auto key = JournalRecords::WriteImage( *record, ioImage.stored.files );
        Append( *record );
        ioImage.key = key;
    }
    return *ioImage.key;
}

/// A record is missing as a whole after a failure, and so are those after it.
void MeasureJournal::Append( const XMemStream& inRecord )
{
    const XThreadLock lock( itsMutex );
    if ( itsHasFailed )
        return;
    itsFile.WriteAt( itsEnd, inRecord.GetData(), inRecord.GetLength() );
    itsEnd += inRecord.GetLength();
    itsHasUnflushed = true;
}

void MeasureJournal::FlushSometimes()
{
    if ( !itsFlushTimer.RestartIfExpired() )
        return;
    try
    {
        {
            const XThreadLock lock( itsMutex );
            if ( itsHasFailed || !std::exchange( itsHasUnflushed, false ) )
                return;
        }
        itsFile.Flush();
        itsFlushTimer.Restart(); // A slow disk is not kept busy.
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
        ReportFailure();
    }
}

/// Of the exception that is being handled.
void MeasureJournal::ReportFailure()
{
    const Failure failure = DescribeCurrentException();
    {
        const XThreadLock lock( itsMutex );
        if ( std::exchange( itsHasFailed, true ) )
            return;
    }
    itsSession.ReportWarning(
        "cannot write " + itsName + ": " + failure.text +
        "; after an interrupt, pages that are not in it are measured again" );
}
