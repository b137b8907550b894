#include "Measuring/MeasurePageJob.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XMemStream.h"
#include "Jobs/XProgress.h"
#include "Measuring/MeasurementStream.h"
#include "Services/XAppAndComputerInfo.h"
#include "Support/ClassNumbers.h"
#include "Support/FilePaths.h"
#include "Terminal/ProgressDisplay.h"
#include "Threads/XStopThreadException.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace
{
constexpr std::uint64_t kMeasureSteps = 2;

/// The first revision of the job whose samples are compressed.
constexpr std::uint32_t kPackedRevision = 1;

/// The page memory of a node. Never destroyed, because workers may use it until the process ends.
XPageMemory& GetNodeMemory()
{
    static XPageMemory& sMemory = *new XPageMemory;
    return sMemory;
}

/// Keeps the files that were read last open: the pages of one file are measured by different jobs.
class OpenFiles
{
public:
    using Reader = std::shared_ptr<XImageReader>;

    static OpenFiles& Get()
    {
        static OpenFiles& sFiles = *new OpenFiles;
        return sFiles;
    }

    Reader Open( const SharedFile& inFile, const XImageReadSettings& inSettings )
    {
        const XThreadLock lock( itsMutex );
        const auto isWanted = [&]( const Entry& inEntry )
        { return inEntry.file == inFile && inEntry.settings == inSettings; };
        if ( const auto found = std::ranges::find_if( itsEntries, isWanted ); found != itsEntries.end() )
            return found->reader;
        const auto reader = std::make_shared<XImageReader>( PathFromUTF8( inFile.path ), inSettings );
        itsEntries.push_front( { inFile, inSettings, reader } );
        if ( itsEntries.size() > kMostFiles )
            itsEntries.pop_back();
        return reader;
    }

private:
    static constexpr USize kMostFiles = 4;

    struct Entry
    {
        SharedFile file;
        XImageReadSettings settings;
        Reader reader;
    };

    XMutex itsMutex;
    std::deque<Entry> itsEntries;
};

USize64 CountStoredBytes( const XStorable& inObject )
{
    XMemStream stream;
    inObject.WriteStream2( stream );
    return stream.GetLength();
}
} // namespace

// ---- The result

XVersion MeasurePageResult::GetClassVersion()
{
    return XVersion( kClassMeasurePageResult );
}

XVersion MeasurePageResult::GetSuperClassVersion()
{
    return XNetJobResult::GetClassVersion();
}

USize64 MeasurePageResult::GetStreamUsage() const
{
    return CountStoredBytes( *this );
}

void MeasurePageResult::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    using namespace MeasurementStream;
    XNetJobResult::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
    inStream.WriteBool( failure.has_value() );
    if ( failure )
    {
        WriteText( inStream, failure->text );
        inStream.Write32( failure->number );
    }
    inStream.WriteFloat64S( ignoredPixelSize );
    WriteMeasurement( inStream, page.measurement );
    inStream.WriteBool( page.sketch.has_value() );
    if ( page.sketch )
        WriteSketch( inStream, *page.sketch );
}

void MeasurePageResult::ReadStream2( XStream& inStream, XOptions inOptions )
{
    using namespace MeasurementStream;
    XNetJobResult::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
    if ( inStream.ReadBool() )
    {
        failure.emplace().text = ReadText( inStream );
        failure->number = inStream.Read32();
    }
    ignoredPixelSize = inStream.ReadFloat64S();
    page.measurement = ReadMeasurement( inStream );
    if ( inStream.ReadBool() )
        page.sketch = ReadSketch( inStream, page.measurement );
}

// ---- The job

MeasurePageJob::MeasurePageJob(
    const Request& inRequest, CachedPage* ioSamples, XPageMemory* ioMemory, Completed inCompleted )
    : itsRequest( inRequest ), itsSamples( ioSamples ), itsMemory( ioMemory ),
      itsCompleted( std::move( inCompleted ) )
{
}

void MeasurePageJob::Register()
{
    XClassRegistry::RegisterClass<MeasurePageJob>( "Measure Page Job" );
    XClassRegistry::RegisterClass<MeasurePageResult>( "Measure Page Result" );
}

XVersion MeasurePageJob::GetClassVersion()
{
    return XVersion( kClassMeasurePageJob, kPackedRevision );
}

XVersion MeasurePageJob::GetSuperClassVersion()
{
    return XNetJob::GetClassVersion();
}

USize64 MeasurePageJob::GetStreamUsage() const
{
    return CountStoredBytes( *this );
}

void MeasurePageJob::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    using namespace MeasurementStream;
    XNetJob::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
    WriteText( inStream, itsRequest.image );
    inStream.Write32( itsRequest.page );
    WriteSettings( inStream, itsRequest.settings );
    inStream.WriteBool( itsRequest.needsOverlay );
    inStream.WriteBool( itsRequest.file.has_value() );
    if ( const auto& file = itsRequest.file )
    {
        WriteText( inStream, file->path );
        inStream.Write64( file->size );
        inStream.Write64S( file->modificationTime );
        inStream.Write64( file->checksum );
        WriteReadSettings( inStream, itsRequest.reading );
        return;
    }
    XAssert( itsSamples && itsMemory );
    const WImagePage page = itsSamples->Lock( *itsMemory, kLockForRead );
    WritePage( inStream, page );
    itsSamples->CheckIntact();
}

void MeasurePageJob::ReadStream2( XStream& inStream, XOptions inOptions )
{
    using namespace MeasurementStream;
    XNetJob::ReadStream2( inStream, inOptions );
    const XVersion version = ReadCheckedVersion( inStream, GetClassVersion() );
    itsRequest.image = ReadText( inStream );
    itsRequest.page = inStream.Read32();
    itsRequest.settings = ReadSettings( inStream );
    itsRequest.needsOverlay = inStream.ReadBool();
    if ( inStream.ReadBool() )
    {
        SharedFile& file = itsRequest.file.emplace();
        file.path = ReadText( inStream );
        file.size = inStream.Read64();
        file.modificationTime = inStream.Read64S();
        file.checksum = inStream.Read64();
        itsRequest.reading = ReadReadSettings( inStream );
        return;
    }
    const auto allocate = []( std::uint64_t inBytes ) { return GetNodeMemory().Allocate( inBytes ); };
    itsPage = ReadPage( inStream, allocate, version.GetClassRevision() >= kPackedRevision );
}

/// A failure of the page is a result: the job has not failed.
void MeasurePageJob::RunJobSelf()
{
    XProgress progress( kMeasureSteps, XProgress::kProgressSteps, kProgressDelayMS );
    progress.SetMessage(
        "page " + std::to_string( itsRequest.page ) + " of " + XString::FromUTF8( itsRequest.image ) );
    auto result = std::make_unique<MeasurePageResult>();
    try
    {
        Measure( *result );
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
        result = std::make_unique<MeasurePageResult>();
        result->failure = DescribeCurrentException();
    }
    itsPage = {};
    SetResult( std::move( result ) );
}

void MeasurePageJob::Measure( MeasurePageResult& outResult )
{
    if ( itsRequest.file )
        itsPage = ReadFile( outResult.ignoredPixelSize );
    outResult.page = MeasurePageSamples( itsPage, itsRequest.settings, itsRequest.needsOverlay );
}

/// The file is compared before and after reading.
WImagePage MeasurePageJob::ReadFile( double& outIgnoredPixelSize ) const
{
    CheckFile();
    const auto reader = OpenFiles::Get().Open( *itsRequest.file, itsRequest.reading );
    if ( itsRequest.page >= reader->GetPageCount() )
        throw WImageError( "the file has changed" );
    const auto allocate = []( std::uint64_t inBytes ) { return GetNodeMemory().Allocate( inBytes ); };
    WImagePage page = reader->ReadPage( itsRequest.page, allocate );
    CheckFile();
    outIgnoredPixelSize = reader->GetIgnoredPixelSize();
    return page;
}

/// Whatever is wrong with the file is so on this computer.
void MeasurePageJob::CheckFile() const
{
    try
    {
        itsRequest.file->Check();
    }
    catch ( ... )
    {
        const XAppVersion::XAppAndComputerInfo info = XAppVersion::XAppAndComputerInfo::GetCurrent();
        throw WImageError( "on " + info.GetComputerName().ToUTF8() + ": " + DescribeCurrentException().text );
    }
}

void MeasurePageJob::JobCompleteSelf( std::uint32_t inResultCode )
{
    if ( itsCompleted )
        itsCompleted( *this, inResultCode );
}
