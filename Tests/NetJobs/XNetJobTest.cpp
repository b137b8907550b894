#include "NetJobs/XNetJob.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XMemStream.h"
#include "Jobs/XJobQueue.h"
#include "System/WProcessors.h"
#include "Testing.h"

#include <memory>

namespace
{

constexpr std::int64_t kCPUTimeUS = 2000;

/// Uses processor time and returns its parameter as result code.
class BusyJob : public XNetJob
{
public:
    explicit BusyJob( std::uint32_t inResultCode = 0 ) : itsOutcome( inResultCode ) {}

    static XVersion GetClassVersion() { return XVersion( 60100, 0 ); }
    static XVersion GetSuperClassVersion() { return XNetJob::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    BusyJob* Clone() const override { return new BusyJob( *this ); }
    USize64 GetStreamUsage() const override { return XNetJob::GetStreamUsage() + 8; }

    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        XNetJob::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetClassVersion() );
        itsOutcome = inStream.Read32();
    }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        XNetJob::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.Write32( itsOutcome );
    }

protected:
    void RunJobSelf() override
    {
        std::int64_t kernel = 0;
        std::int64_t user = 0;
        WProcessors::GetThreadCPUTime( kernel, user );
        for ( const std::int64_t end = kernel + user + kCPUTimeUS; kernel + user < end; )
            WProcessors::GetThreadCPUTime( kernel, user );
        SetResultCode( itsOutcome );
    }

private:
    std::uint32_t itsOutcome;
};

/// Copies its result code and processor time on completion.
class ReportingJob : public BusyJob
{
public:
    ReportingJob( std::uint32_t& outCode, XTime& outCPUTime )
        : BusyJob( 42 ), itsCode( outCode ), itsTime( outCPUTime )
    {
    }

private:
    void JobCompleteSelf( std::uint32_t inResultCode ) override
    {
        itsCode = inResultCode;
        itsTime = GetCPUTimeUsed();
    }

    std::uint32_t& itsCode;
    XTime& itsTime;
};

} // namespace

TEST( XNetJobTest, TagsAndGroupsTravelWithTheirLow32Bits )
{
    XNetJob job;
    job.SetTag( 0x1122334455667788 );
    job.SetGroup( -2 );
    XMemStream stream;
    stream.WriteObject( job );
    stream.SeekTo( 0 );
    const auto read = stream.ReadObjectOf<XNetJob>();
    EXPECT_EQ( read->GetTag(), 0x55667788 );
    EXPECT_EQ( read->GetGroup(), 0xFFFFFFFE );
}

TEST( XNetJobTest, IsReadAsTheClassThatItIs )
{
    XClassRegistry::RegisterClass<BusyJob>( "Busy Job" );
    BusyJob job( 42 );
    job.SetTag( 7 );
    job.RegisterSharedData( 3, 4 );
    XMemStream stream;
    stream.WriteObject( job );
    EXPECT_EQ( stream.GetLength(), 4 + job.GetStreamUsage() );
    stream.SeekTo( 0 );
    const auto read = stream.ReadObjectOf<XNetJob>();
    ASSERT_TRUE( dynamic_cast<const BusyJob*>( read.get() ) );
    EXPECT_TRUE( read->IsA( XNetJob::GetClassVersion() ) );
    EXPECT_EQ( read->GetRegisteredSharedData(), XVector<std::uint32_t>{ 3 } );
    read->RunJob();
    EXPECT_EQ( read->GetResultCode(), 42u );
    XClassRegistry::UnregisterClassA( BusyJob::GetClassVersion() );
}

TEST( XNetJobTest, ACopyIsAJobOfItsOwn )
{
    BusyJob job( 42 );
    job.SetTag( 7 );
    job.SetClientID( 6 );
    job.RegisterSharedData( 3, 4 );
    job.RunJob();
    const BusyJob copy( job );
    EXPECT_EQ( copy.GetTag(), 7 );
    EXPECT_EQ( copy.GetClientID(), 6u );
    EXPECT_EQ( copy.GetSharedDataUses()[0].purpose, 4u );
    EXPECT_EQ( copy.GetResultCode(), 0u );
    EXPECT_EQ( copy.GetCPUTimeUsed(), XTime( 0 ) );
    job.Resumed();
    EXPECT_EQ( job.GetResultCode(), 0u );
}

TEST( XNetJobTest, ARecordOfAnUnknownClassCannotRun )
{
    XNetJob job;
    EXPECT_EQ( ErrorOf( [&] { job.RunJob(); } ), 1003u );
    EXPECT_EQ( job.GetResultCode(), 1003u );
}

TEST( XNetJobTest, CompletesOnItsWorkerAndMeasuresItsProcessorTime )
{
    std::uint32_t code = 0;
    XTime time( 0 );
    {
        XJobQueue queue;
        queue.AttachJob( new ReportingJob( code, time ) );
        queue.Start();
        queue.WaitForQueueEmpty();
        EXPECT_EQ( code, 42u );
    }
    EXPECT_GE( time, XTime( kCPUTimeUS ) );
}
