#include "Measuring/JournalRecords.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XMemStream.h"
#include "Files/WFile.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Jobs/XProgress.h"
#include "Measuring/MeasurePageJob.h"
#include "Measuring/MeasurementStream.h"
#include "Support/Checksum.h"
#include "Support/ClassNumbers.h"
#include "Terminal/ProgressDisplay.h"

#include <algorithm>
#include <stdexcept>

// A record is the length and the checksum of its contents, 64 bits each, and the contents: a byte for its kind, then the
// fields. Records are only appended. After a crash the last ones may be incomplete, or blocks of them may lack: everything
// from the first damaged record on is ignored. Each result is decoded when the journal is opened, so that a page which
// counts as finished can be taken later.

namespace JournalRecords
{
namespace
{
enum Kind : std::uint8_t
{
    kImage = 0,
    kPage = 1
};

constexpr std::uint64_t kMostConditions = 100;
constexpr std::uint64_t kMostHeaderBytes = 64 * 1024;

void SetOrder( XStream& ioStream )
{
    ioStream.SetByteOrder( kIntelOrder );
}

void Require( bool inIsValid )
{
    if ( !inIsValid )
        XThrow( kErrorStreamCorrupted );
}

/// Does what reads outside bytes. Returns false if they are damaged or end early; other errors are thrown.
template<class TRead>
bool IsIntact( const TRead& inRead )
{
    try
    {
        inRead();
        return true;
    }
    catch ( const XException& error )
    {
        const auto damages = {
            kErrorStreamCorrupted, kErrorEndOfFile, kErrorClassNotRegistered, kErrorNoCreationFunction,
            kErrorRevisionTooNew };
        if ( std::ranges::find( damages, error.GetErrorNumber() ) == damages.end() )
            throw;
        return false;
    }
}

// ---- The header

Conditions ReadConditions( XStream& ioStream )
{
    const std::uint64_t count = ioStream.Read64();
    Require( count <= kMostConditions );
    Conditions conditions( count );
    for ( Condition& condition : conditions )
    {
        condition.name = MeasurementStream::ReadText( ioStream );
        condition.value = MeasurementStream::ReadText( ioStream );
    }
    return conditions;
}

/// The names of the conditions that differ, for a sentence.
std::string ListDifferences( const Conditions& inStored, const Conditions& inPresent )
{
    std::string names;
    for ( const Condition& condition : inPresent )
        if ( std::ranges::find( inStored, condition ) == inStored.end() )
            names += ( names.empty() ? "" : ", " ) + condition.name;
    return names.empty() ? "conditions" : names;
}

/// Whether the file may be a header that was not completed: a crash leaves a part of it, or zeros.
bool IsBeginningOfHeader( const std::vector<std::uint8_t>& inFile, const XMemStream& inHeader )
{
    if ( inFile.size() > inHeader.GetLength() )
        return false;
    const auto isWritten = []( std::uint8_t inByte ) { return inByte != 0; };
    const auto end = std::find_if( inFile.rbegin(), inFile.rend(), isWritten ).base();
    return std::equal( inFile.begin(), end, inHeader.GetData() );
}

/// Reads the header from the first bytes of a file; moves to its end.
Conditions ReadHeader( XMemStream& ioStream )
{
    ioStream.ReadStreamInfo();
    Require( ioStream.GetByteOrder() == kIntelOrder && !ioStream.IsOldStream() );
    Require( ioStream.ReadVersion() == XVersion( kClassMeasureJournal ) );
    auto conditions = ReadConditions( ioStream );
    const auto size = static_cast<USize64>( ioStream.GetPosition() );
    Require( ioStream.Read64() == AddToChecksum( kEmptyChecksum, ioStream.GetData(), size ) );
    return conditions;
}

/// Returns the size of the header; 0 if it is not complete.
std::uint64_t CheckHeader( XStream& ioStream, const Conditions& inConditions )
{
    std::vector<std::uint8_t> bytes(
        std::min( static_cast<std::uint64_t>( ioStream.GetExtent() ), kMostHeaderBytes ) );
    if ( !bytes.empty() )
        ioStream.ReadBuffer8( bytes.data(), bytes.size() );
    XMemStream start( bytes.data(), bytes.size() );
    Conditions conditions;
    if ( !IsIntact( [&] { conditions = ReadHeader( start ); } ) )
    {
        const auto header = MakeStream();
        WriteHeader( *header, inConditions );
        if ( !IsBeginningOfHeader( bytes, *header ) )
            throw std::runtime_error( "it is not a journal of korvale measure" );
        return 0;
    }
    if ( conditions != inConditions )
        throw std::runtime_error(
            "it belongs to a run with other settings (" + ListDifferences( conditions, inConditions ) +
            "): repeat the command of that run, or remove the file" );
    return static_cast<std::uint64_t>( start.GetPosition() );
}

// ---- Records

/// Returns the checksum of the contents.
template<class TWrite>
std::uint64_t WriteRecord( XMemStream& ioStream, Kind inKind, const TWrite& inWriteFields )
{
    const auto start = ioStream.GetPosition();
    ioStream.Write64( 0 );
    ioStream.Write64( 0 );
    ioStream.Write8( inKind );
    inWriteFields();
    const auto end = ioStream.GetPosition();
    const auto size = static_cast<std::uint64_t>( end - start ) - kPrefixSize;
    const auto checksum = AddToChecksum( kEmptyChecksum, ioStream.GetData() + start + kPrefixSize, size );
    ioStream.SeekTo( start );
    ioStream.Write64( size );
    ioStream.Write64( checksum );
    ioStream.SeekTo( end );
    return checksum;
}

/// A shared file takes at least the length of its path and three numbers.
constexpr std::size_t kLeastFileSize = 4 * sizeof( std::uint64_t );

Files ReadFiles( XStream& ioStream )
{
    const std::uint64_t count = ioStream.Read64();
    ioStream.CheckRemaining( count, kLeastFileSize );
    Files files( count );
    for ( SharedFile& file : files )
    {
        file.path = MeasurementStream::ReadText( ioStream );
        file.size = ioStream.Read64();
        file.modificationTime = ioStream.Read64S();
        file.checksum = ioStream.Read64();
    }
    return files;
}

PageKey ReadKey( XStream& ioStream )
{
    PageKey key;
    key.image = ioStream.Read64();
    key.page = ioStream.Read32();
    key.background = ioStream.Read64();
    return key;
}

/// Only pages that have been measured are stored.
std::unique_ptr<MeasurePageResult> ReadResult( XStream& ioStream )
{
    auto result = ioStream.ReadObjectOf<MeasurePageResult>( XStorable::kUntrustedSource );
    Require( ioStream.IsAtEOF() && !result->failure );
    return result;
}

/// The contents of a record, and a stream over them.
struct Record
{
    std::vector<std::uint8_t> bytes;
    std::unique_ptr<XMemStream> stream;

    /// The bytes have been read.
    void Open()
    {
        stream = std::make_unique<XMemStream>( bytes.data(), bytes.size() );
        SetOrder( *stream );
    }
    bool Has( std::uint64_t inChecksum ) const
    {
        return AddToChecksum( kEmptyChecksum, bytes.data(), bytes.size() ) == inChecksum;
    }
};

/// Reads the contents of the next record, if it is complete.
bool ReadRecord( XStream& ioStream, Record& outRecord, Place& outPlace )
{
    if ( !ioStream.HasRemaining( kPrefixSize, 1 ) )
        return false;
    outPlace.size = ioStream.Read64();
    outPlace.checksum = ioStream.Read64();
    outPlace.position = static_cast<std::uint64_t>( ioStream.GetPosition() );
    if ( outPlace.size > kMostBytes || !ioStream.HasRemaining( outPlace.size, 1 ) )
        return false;
    outRecord.bytes.resize( outPlace.size );
    if ( !outRecord.bytes.empty() )
        ioStream.ReadBuffer8( outRecord.bytes.data(), outPlace.size );
    return outRecord.Has( outPlace.checksum );
}

void TakeRecord( Record& ioRecord, Place inPlace, Contents& ioContents )
{
    ioRecord.Open();
    XStream& stream = *ioRecord.stream;
    const std::uint8_t kind = stream.Read8();
    Require( kind <= kPage );
    if ( kind == kImage )
    {
        auto files = ReadFiles( stream );
        Require( stream.IsAtEOF() && !files.empty() );
        ioContents.images.try_emplace( inPlace.checksum, Image{ std::move( files ), {} } );
        return;
    }
    const PageKey key = ReadKey( stream );
    const auto image = ioContents.images.find( key.image );
    Require( image != ioContents.images.end() );
    ReadResult( stream );
    inPlace.background = key.background;
    image->second.pages[key.page] = inPlace;
}
} // namespace
} // namespace JournalRecords

std::unique_ptr<XMemStream> JournalRecords::MakeStream()
{
    auto stream = std::make_unique<XMemStream>();
    SetOrder( *stream );
    return stream;
}

void JournalRecords::WriteHeader( XStream& ioStream, const Conditions& inConditions )
{
    const auto header = MakeStream();
    header->WriteStreamInfo();
    header->WriteVersion( XVersion( kClassMeasureJournal ) );
    header->Write64( inConditions.size() );
    for ( const auto& [name, value] : inConditions )
    {
        MeasurementStream::WriteText( *header, name );
        MeasurementStream::WriteText( *header, value );
    }
    header->Write64( AddToChecksum( kEmptyChecksum, header->GetData(), header->GetLength() ) );
    ioStream.WriteBuffer8( header->GetData(), header->GetLength() );
}

std::uint64_t JournalRecords::WriteImage( XMemStream& ioStream, const Files& inFiles )
{
    const auto write = [&]
    {
        ioStream.Write64( inFiles.size() );
        for ( const SharedFile& file : inFiles )
        {
            MeasurementStream::WriteText( ioStream, file.path );
            ioStream.Write64( file.size );
            ioStream.Write64S( file.modificationTime );
            ioStream.Write64( file.checksum );
        }
    };
    return WriteRecord( ioStream, kImage, write );
}

void JournalRecords::WritePage(
    XMemStream& ioStream, const PageKey& inKey, const MeasurePageResult& inResult )
{
    const auto write = [&]
    {
        ioStream.Write64( inKey.image );
        ioStream.Write32( inKey.page );
        ioStream.Write64( inKey.background );
        ioStream.WriteObject( inResult );
    };
    WriteRecord( ioStream, kPage, write );
}

JournalRecords::Contents JournalRecords::Read( XStream& ioStream, const Conditions& inConditions )
{
    Contents contents;
    contents.end = CheckHeader( ioStream, inConditions );
    if ( contents.end == 0 )
        return contents;
    const auto size = static_cast<std::uint64_t>( ioStream.GetExtent() );
    XProgress progress( size, XProgress::kProgressTransfer, kProgressDelayMS );
    progress.SetTitle( "Reading the journal" );
    SetOrder( ioStream );
    ioStream.SeekTo( static_cast<SSize64>( contents.end ) );
    Record record;
    Place place;
    while ( ReadRecord( ioStream, record, place ) &&
            IsIntact( [&] { TakeRecord( record, place, contents ); } ) )
    {
        contents.end = place.position + place.size;
        progress.SetProgress( static_cast<double>( contents.end ) );
        progress.YieldAndCheckAbort();
    }
    return contents;
}

std::unique_ptr<MeasurePageResult> JournalRecords::ReadPage( const WFile& inFile, const Place& inPlace )
{
    Record record;
    record.bytes.resize( inPlace.size );
    Require( inFile.ReadAt( inPlace.position, record.bytes.data(), inPlace.size ) == inPlace.size );
    Require( record.Has( inPlace.checksum ) );
    record.Open();
    record.stream->Read8();
    ReadKey( *record.stream );
    return ReadResult( *record.stream );
}
