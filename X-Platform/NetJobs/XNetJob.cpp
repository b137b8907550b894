#include "NetJobs/XNetJob.h"

#include "Core/Streams/XStream.h"
#include "NetJobs/XNetJobResult.h"
#include "System/WProcessors.h"

namespace
{

constexpr std::uint32_t kReserved = 0; // a constant of the layout

std::int64_t GetCPUTime( bool inOfProcess )
{
    std::int64_t kernel = 0;
    std::int64_t user = 0;
    if ( inOfProcess )
        WProcessors::GetProcessCPUTime( kernel, user );
    else
        WProcessors::GetThreadCPUTime( kernel, user );
    return kernel + user;
}

/// Measures the processor time from its construction to its destruction.
class CPUTimeMeter
{
public:
    CPUTimeMeter( bool inOfProcess, XTime& outTime )
        : itsIsOfProcess( inOfProcess ), itsTime( outTime ), itsStart( GetCPUTime( inOfProcess ) )
    {
    }
    CPUTimeMeter( const CPUTimeMeter& ) = delete;
    CPUTimeMeter& operator=( const CPUTimeMeter& ) = delete;
    ~CPUTimeMeter() { itsTime = XTime( GetCPUTime( itsIsOfProcess ) - itsStart ); }

private:
    const bool itsIsOfProcess;
    XTime& itsTime;
    const std::int64_t itsStart;
};

} // namespace

XNetJob::XNetJob() = default;

XNetJob::XNetJob( const XNetJob& inOther ) : XJob(), XStorable( inOther )
{
    *this = inOther;
}

XNetJob& XNetJob::operator=( const XNetJob& inOther )
{
    SetTag( inOther.GetTag() );
    SetGroup( inOther.GetGroup() );
    itsJobQueueID = inOther.itsJobQueueID;
    itsClientID = inOther.itsClientID;
    itsSharedDataUses = inOther.itsSharedDataUses;
    return *this;
}

XNetJob::~XNetJob() = default;

void XNetJob::RegisterSharedData( std::uint32_t inDataID, std::uint32_t inPurpose )
{
    itsSharedDataUses.push_back( { inDataID, inPurpose } );
}

XVector<std::uint32_t> XNetJob::GetRegisteredSharedData() const
{
    XVector<std::uint32_t> ids;
    ids.reserve( itsSharedDataUses.size() );
    for ( const XSharedDataUse& use : itsSharedDataUses )
        ids.push_back( use.dataID );
    return ids;
}

void XNetJob::RunJob()
{
    const CPUTimeMeter meter( CalculateCPUTimeUsedByEntireProcess(), itsCPUTimeUsed );
    XJob::RunJob();
}

void XNetJob::RunJobSelf()
{
    XThrow( kErrorClassNotRegistered );
}

void XNetJob::Resumed()
{
    SetResultCode( 0 );
}

void XNetJob::SetResult( std::unique_ptr<XNetJobResult> inResult )
{
    itsResult = std::move( inResult );
}

std::unique_ptr<XNetJobResult> XNetJob::TakeResult()
{
    return std::move( itsResult );
}

// ---- Storage

XVersion XNetJob::GetClassVersion()
{
    return XVersion( kClassNetJob, 0 );
}

XVersion XNetJob::GetSuperClassVersion()
{
    return XVersion( kClassNone );
}

XVersion XNetJob::GetVersion() const
{
    return GetClassVersion();
}

XNetJob* XNetJob::Clone() const
{
    return new XNetJob( *this );
}

USize64 XNetJob::GetStreamUsage() const
{
    constexpr USize64 kNumbers = 7; // the version included
    return ( kNumbers + 2 * itsSharedDataUses.size() ) * sizeof( std::uint32_t );
}

void XNetJob::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    ReadStreamSelf( inStream );
}

void XNetJob::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    WriteStreamSelf( inStream );
}

void XNetJob::ReadStreamSelf( XStream& inStream )
{
    SetTag( inStream.Read32() );
    SetGroup( inStream.Read32() );
    if ( inStream.Read32() != kReserved )
        XThrow( kErrorStreamCorrupted );
    itsJobQueueID = inStream.Read32();
    itsClientID = inStream.Read32();
    const std::uint32_t count = inStream.Read32();
    inStream.CheckRemaining( count, sizeof( XSharedDataUse ) );
    itsSharedDataUses.clear();
    for ( std::uint32_t i = 0; i < count; ++i )
    {
        const std::uint32_t dataID = inStream.Read32();
        RegisterSharedData( dataID, inStream.Read32() );
    }
}

void XNetJob::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( static_cast<std::uint32_t>( GetTag() ) );
    inStream.Write32( static_cast<std::uint32_t>( GetGroup() ) );
    inStream.Write32( kReserved );
    inStream.Write32( itsJobQueueID );
    inStream.Write32( itsClientID );
    XAssert( itsSharedDataUses.size() <= 0xFFFFFFFFu );
    inStream.Write32( static_cast<std::uint32_t>( itsSharedDataUses.size() ) );
    for ( const XSharedDataUse& use : itsSharedDataUses )
    {
        inStream.Write32( use.dataID );
        inStream.Write32( use.purpose );
    }
}
