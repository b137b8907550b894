#include "Measuring/ImageRecord.h"

#include "Files/WFilePath.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Support/FilePaths.h"

#include <algorithm>

namespace
{
/// The files of an image, of which the first has been described; empty if one of them cannot be read.
JournalRecords::Files DescribeFiles( const std::optional<SharedFile>& inFirst, const XImageReader& inReader )
{
    if ( !inFirst )
        return {};
    JournalRecords::Files files{ *inFirst };
    const auto& paths = inReader.GetStructure().files;
    for ( USize i = 1; i < paths.size(); ++i )
    {
        const auto file = SharedFile::TryDescribe( paths[i] );
        if ( !file )
            return {};
        files.push_back( *file );
    }
    return files;
}

/// The maximum or sum of the labels of several slices is the label of another object.
void RequireUncombined( const std::string& inPath, const XImageReader& inLabels, XSliceMode inMode )
{
    if ( inMode == XSliceMode::kEach )
        return;
    const auto& series = inLabels.GetStructure().series;
    for ( std::uint32_t page = 0; page < inLabels.GetPageCount(); ++page )
        if ( series[inLabels.GetPosition( page ).series].slices > 1 )
            throw WImageError(
                inPath + ": labels of several slices cannot be combined (expected one slice, or --z each)" );
}
} // namespace

// ---- Opening

ImageRecord::ImageRecord( const std::string& inPath, USize inNumber, const XImageReadSettings& inReading )
    : path( inPath ), number( inNumber ), reader( PathFromUTF8( inPath ), inReading ),
      pages( reader.GetPageCount() )
{
    for ( std::uint32_t page = 0; page < GetPageCount(); ++page )
        pages[page].number = page;
    // The folder tells apart images of the same name in the table, so it must not depend on how the path
    // was typed.
    const auto full = WFilePath::Normalise( PathFromUTF8( inPath ) );
    measurement.name = PathToUTF8( full.filename() );
    const auto folder = full.parent_path().generic_u8string();
    measurement.folder = std::string( folder.begin(), folder.end() );
}

void ImageRecord::OpenGiven( const GivenFile& inGiven, const XImageReadSettings& inReading )
{
    try
    {
        given.reset( new GivenImage{
            inGiven.path, XImageReader( PathFromUTF8( inGiven.path ), inReading ), inGiven.kind } );
    }
    catch ( ... )
    {
        // The image itself is readable.
        throw WImageError( inGiven.path + ": " + DescribeCurrentException().text );
    }
    const auto count = given->reader.GetPageCount();
    if ( count != GetPageCount() )
        throw WImageError(
            "it has " + std::to_string( GetPageCount() ) + " pages, but " + inGiven.path + " has " +
            std::to_string( count ) );
    if ( inGiven.kind == XGivenKind::kLabels )
        RequireUncombined( inGiven.path, given->reader, inReading.selection.sliceMode );
    for ( auto& page : pages )
        page.given = given.get();
}

void ImageRecord::OpenJournal(
    MeasureJournal& ioJournal, const XImageReadSettings& inReading, const std::optional<SharedFile>& inFile,
    const std::optional<SharedFile>& inGivenFile )
{
    auto files = DescribeFiles( inFile, reader );
    if ( files.empty() )
        return;
    if ( given )
    {
        const auto givenFiles = DescribeFiles( inGivenFile, given->reader );
        if ( givenFiles.empty() )
            return;
        files.insert( files.end(), givenFiles.begin(), givenFiles.end() );
    }
    journal = std::make_unique<ImageJournal>( ioJournal, reader, inReading, files );
    for ( auto& page : pages )
        page.journal = journal.get();
}

// ---- Failures

void ImageRecord::CheckAbort() const
{
    for ( const auto& page : pages )
        if ( page.failure && page.failure->IsUserAbort() )
            XThrow( page.failure->number );
}

bool ImageRecord::HasLackedMemory() const
{
    return std::ranges::any_of(
        pages,
        []( const PageRecord& inPage )
        {
            return inPage.failure &&
                ( inPage.failure->number == kErrorOutOfMemory ||
                  inPage.failure->number == kErrorMemoryNotMapped );
        } );
}

bool ImageRecord::HasGoodPages() const
{
    return std::ranges::any_of( pages, []( const PageRecord& inPage ) { return !inPage.failure; } );
}

void ImageRecord::Refuse( const Failure& inFailure )
{
    for ( auto& page : pages )
        if ( !page.failure )
            page.failure = inFailure;
}
