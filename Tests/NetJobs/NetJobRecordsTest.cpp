#include "Core/StreamTools.h"
#include "NetJobs/XAssignedJobInfo.h"
#include "NetJobs/XConnectionInfo.h"
#include "NetJobs/XJobAttachmentInfo.h"
#include "NetJobs/XJobProgressInfo.h"
#include "NetJobs/XLogonInfo.h"
#include "NetJobs/XLogonResult.h"
#include "NetJobs/XNetJob.h"
#include "NetJobs/XNetJobCompletedMessage.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "NetJobs/XNetJobSharedData.h"

#include <memory>

// The records of network jobs as docs/formats.md has them. Their bytes were made by a program that knows nothing of the
// library.

namespace
{

struct Record
{
    std::string name;
    std::unique_ptr<XStorable> object;
    std::string intel; // its contents
    std::string motorola;
};

template<class TRecord>
TRecord ReadHex( const std::string& inHex )
{
    const XBytes bytes = FromHex( inHex );
    XMemStream stream( bytes.data(), bytes.size() );
    stream.SetByteOrder( kIntelOrder );
    TRecord record;
    record.ReadStream2( stream );
    return record;
}

/// Only the process's own information can be made by other means than reading.
XAppVersion::XAppAndComputerInfo GetRecordedInfo()
{
    return ReadHex<XAppVersion::XAppAndComputerInfo>(
        "d9070000d8070000020000006162010000000200000003000000000102030405060708090a0b0c0d"
        "0e0f020000006e314d00000004000000686f7374050000004c696e75780400000000000000010000"
        "00" );
}

std::unique_ptr<XNetJob> MakeJob()
{
    auto job = std::make_unique<XNetJob>();
    job->SetTag( 0x1122334455667788 );
    job->SetGroup( -2 );
    job->SetJobQueueID( 5 );
    job->SetClientID( 6 );
    job->RegisterSharedData( 11, 12 );
    job->RegisterSharedData( 13, 14 );
    return job;
}

std::unique_ptr<XNetJobQueue::XJobProgressInfo> MakeProgress()
{
    using Info = XNetJobQueue::XJobProgressInfo;
    auto info = std::make_unique<Info>( 7u, 500u, "half", 9u, XVersion( 35, 1 ), 250u, 0x1122334455667788u );
    info->SetChangeFlags( Info::kMessageChanged | Info::kObjectChanged );
    info->AddChangeFlag( Info::kProgressChanged | Info::kRateChanged );
    info->RemoveChangeFlag( Info::kMessageChanged );
    return info;
}

std::unique_ptr<XNetJobQueue::XConnectionInfo> MakeConnection()
{
    const std::string address = "1a020000 0500000a 01000000 0100a8c0 02000000 6162 02010000";
    return std::make_unique<XNetJobQueue::XConnectionInfo>(
        5u, 6u, XNetJobQueue::kRemoteClient, 9u, XNetJobQueue::kRemoteNode, XNetJobQueue::kTransferRelayed,
        ReadHex<XNetAddress>( address ) );
}

std::vector<Record> MakeRecords()
{
    std::vector<Record> records;
    records.push_back(
        { "XAppVersion", std::make_unique<XAppVersion>( "ab", 1u, 2u, 3u ),
          "d8070000020000006162010000000200000003000000", "000007d8000000026162000000010000000200000003" } );
    records.push_back(
        { "XAppAndComputerInfo", std::make_unique<XAppVersion::XAppAndComputerInfo>( GetRecordedInfo() ),
          "d9070000d8070000020000006162010000000200000003000000000102030405060708090a0b0c0d"
          "0e0f020000006e314d00000004000000686f7374050000004c696e75780400000000000000010000"
          "00",
          "000007d9000007d8000000026162000000010000000200000003000102030405060708090a0b0c0d"
          "0e0f000000026e310000004d00000004686f7374000000054c696e75780000000400000001000000"
          "00" } );
    records.push_back(
        { "XNetJob", MakeJob(),
          "da07000088776655feffffff000000000500000006000000020000000b0000000c0000000d000000"
          "0e000000",
          "000007da55667788fffffffe000000000000000500000006000000020000000b0000000c0000000d"
          "0000000e" } );
    records.push_back(
        { "XNetJobResult", std::make_unique<XNetJobResult>( 7u, 1012u ), "db07000007000000f4030000",
          "000007db00000007000003f4" } );
    records.push_back(
        { "XNetJobSharedData", std::make_unique<XNetJobSharedData>( 1u, 2u, 3u ),
          "dc070000010000000200000003000000", "000007dc000000010000000200000003" } );
    records.push_back(
        { "XJobProgressInfo", MakeProgress(),
          "dd07000007000000f40100000400000068616c660900000023000100fa0000008877665544332211"
          "15000000",
          "000007dd00000007000001f40000000468616c660000000900010023000000fa1122334455667788"
          "00000015" } );
    records.push_back(
        { "XJobAttachmentInfo",
          std::make_unique<XNetJobQueue::XJobAttachmentInfo>(
              7u, 2001u, "page", XVector<std::uint32_t>{ 3, 4 }, 0x0102030405060708u, true ),
          "de07000007000000d107000004000000706167650000000002000000020000000300000004000000"
          "080706050403020101",
          "000007de00000007000007d100000004706167650000000000000002000000020000000300000004"
          "010203040506070801" } );
    records.push_back(
        { "XConnectionInfo", MakeConnection(),
          "df0700000500000006000000000000000900000002000000010000001a0200001a0200000500000a"
          "010000000100a8c002000000616202010000",
          "000007df0000000500000006000000000000000900000002000000010000021a0000021a0a000005"
          "00000001c0a8000100000002616200000102" } );
    records.push_back(
        { "XLogonInfo",
          std::make_unique<XNetJobQueueNode::XLogonInfo>(
              XNetJobQueueNode::kNodeTemporary, GetRecordedInfo(),
              XVector<XVersion>{ XVersion( 40000, 1 ), XVersion( 40001, 0 ) }, true, 8u ),
          "e007000001000000d9070000d9070000d80700000200000061620100000002000000030000000001"
          "02030405060708090a0b0c0d0e0f020000006e314d00000004000000686f7374050000004c696e75"
          "7804000000000000000100000002000000409c0100419c00000108000000",
          "000007e000000001000007d9000007d9000007d80000000261620000000100000002000000030001"
          "02030405060708090a0b0c0d0e0f000000026e310000004d00000004686f7374000000054c696e75"
          "780000000400000001000000000000000200019c4000009c410100000008" } );
    records.push_back(
        { "XLogonResult", std::make_unique<XNetJobQueue::XLogonResult>( 6u, true ), "e10700000600000000",
          "000007e10000000600" } );
    records.push_back(
        { "XAssignedJobInfo",
          std::make_unique<XNetJobQueueNode::XAssignedJobInfo>(
              7u, 1000u, XVector<std::uint32_t>{ 11, 13 }, XVector<std::uint64_t>{ 0x200000000, 5 }, 6u ),
          "e20700000700000006000000e803000000000000020000000b0000000d0000000200000000000000"
          "020000000500000000000000",
          "000007e2000000070000000600000000000003e8000000020000000b0000000d0000000200000002"
          "000000000000000000000005" } );
    records.push_back(
        { "XNetJobCompletedMessage",
          std::make_unique<XNetJobCompletedMessage>( nullptr, 3u, 7u, XTime( -2 ), XNetJobResult( 7, 1012 ) ),
          "d207000003000000e307000007000000feffffffffffffffdb070000db07000007000000f4030000",
          "000007d200000003000007e300000007fffffffffffffffe000007db000007db00000007000003f4" } );
    records.push_back(
        { "XNetJobQueuePositionChangedMessage",
          std::make_unique<XNetJobQueuePositionChangedMessage>( nullptr, 5u, 7u, 2u, 100u, 4u, 8u, 1500u ),
          "d207000000000000e4070000050000000700000002000000640000000400000008000000dc050000",
          "000007d200000000000007e4000000050000000700000002000000640000000400000008000005dc" } );
    return records;
}

const std::string& BytesIn( const Record& inRecord, XByteOrder inOrder )
{
    return inOrder == kIntelOrder ? inRecord.intel : inRecord.motorola;
}

/// The contents of a record, written by the object itself.
std::string Write( const XStorable& inObject, XByteOrder inOrder )
{
    XMemStream stream;
    stream.SetByteOrder( inOrder );
    inObject.WriteStream2( stream );
    EXPECT_EQ( stream.GetLength(), inObject.GetStreamUsage() );
    return Hex( stream );
}

/// Reads contents in Intel order into a record; the error, or 0.
std::uint32_t ErrorOfReading( XStorable& ioObject, const XBytes& inBytes )
{
    XMemStream stream( inBytes.data(), inBytes.size() );
    stream.SetByteOrder( kIntelOrder );
    return ErrorOrZero( [&] { ioObject.ReadStream2( stream ); } );
}

/// The error of reading one of the records with a part of its bytes, which is there once, replaced.
std::uint32_t
ErrorOfReplacing( const std::string& inName, const std::string& inBytes, const std::string& inReplacement )
{
    for ( const Record& record : MakeRecords() )
    {
        if ( record.name != inName )
            continue;
        std::string hex = record.intel;
        const std::size_t place = hex.find( inBytes );
        EXPECT_NE( place, std::string::npos ) << inBytes;
        hex.replace( place, inBytes.size(), inReplacement );
        return ErrorOfReading( *record.object, FromHex( hex ) );
    }
    ADD_FAILURE() << inName;
    return 0;
}

} // namespace

TEST( NetJobRecordsTest, AreWrittenByteForByte )
{
    for ( const Record& record : MakeRecords() )
        for ( const auto order : { kIntelOrder, kMotorolaOrder } )
            EXPECT_EQ( Write( *record.object, order ), BytesIn( record, order ) ) << record.name;
}

TEST( NetJobRecordsTest, AreReadFromTheirBytesAndCloned )
{
    for ( const Record& record : MakeRecords() )
    {
        for ( const auto order : { kIntelOrder, kMotorolaOrder } )
        {
            SCOPED_TRACE( record.name );
            XMemStream stream;
            stream.SetByteOrder( order );
            stream.WriteVersion( record.object->GetVersion() );
            const XBytes bytes = FromHex( BytesIn( record, order ) );
            stream.WriteBuffer8( bytes.data(), bytes.size() );
            stream.SeekTo( 0 );
            const std::unique_ptr<XStorable> read( stream.ReadObject() );
            EXPECT_TRUE( stream.IsAtEOF() );
            const std::unique_ptr<XStorable> clone( read->Clone() );
            EXPECT_EQ( Write( *clone, order ), BytesIn( record, order ) );
            EXPECT_EQ( typeid( *clone ), typeid( *record.object ) );
        }
    }
}

TEST( NetJobRecordsTest, TellWhatTheyHold )
{
    const auto info = GetRecordedInfo();
    EXPECT_EQ( info.GetAppVersion(), XAppVersion( "ab", 1, 2, 3 ) );
    EXPECT_EQ( info.GetInstanceID().GetBytes()[15], 15 );
    EXPECT_EQ( info.GetName(), "n1" );
    EXPECT_EQ( info.GetProcessID(), 77u );
    EXPECT_EQ( info.GetComputerName(), "host" );
    EXPECT_EQ( info.GetSystemDescription(), "Linux" );
    EXPECT_EQ( info.GetProcessorCount(), 4u );
    EXPECT_EQ( info.GetMemoryBytes(), 0x100000000u );

    const auto progress = MakeProgress();
    EXPECT_EQ( progress->GetProgress(), 500u );
    EXPECT_EQ( progress->GetObjectID(), 9u );
    EXPECT_EQ( progress->GetObjectVersion(), XVersion( 35, 1 ) );
    EXPECT_EQ( progress->GetDataTransferProgress(), 250u );
    EXPECT_TRUE( progress->HasChangeFlag( XNetJobQueue::XJobProgressInfo::kObjectChanged ) );
    EXPECT_FALSE( progress->HasChangeFlag( XNetJobQueue::XJobProgressInfo::kMessageChanged ) );
    progress->ClearChangeFlags();
    EXPECT_EQ( progress->GetChangeFlags(), 0u );

    const auto connection = MakeConnection();
    EXPECT_EQ( connection->GetSourceID(), 6u );
    EXPECT_EQ( connection->GetSourceType(), XNetJobQueue::kRemoteClient );
    EXPECT_EQ( connection->GetDestinationID(), 9u );
    EXPECT_EQ( connection->GetDestinationType(), XNetJobQueue::kRemoteNode );
    EXPECT_EQ( connection->GetDestinationAddress().GetPort(), 258 );

    const XNetJobSharedData data( 1, 2, 3 );
    EXPECT_EQ( data.GetJobQueueID(), 2u );
    EXPECT_EQ( data.GetClientID(), 3u );
}

TEST( NetJobRecordsTest, TheFlagOfALogonResultIsNotTransmitted )
{
    using Result = XNetJobQueue::XLogonResult;
    EXPECT_TRUE( Result( 6, true ).ShouldStoreJobsForPossibleRetry() );
    EXPECT_FALSE( ReadHex<Result>( "e1070000 06000000 00" ).ShouldStoreJobsForPossibleRetry() );
    EXPECT_FALSE( ReadHex<Result>( "e1070000 06000000 01" ).ShouldStoreJobsForPossibleRetry() );
}

TEST( NetJobRecordsTest, EmptyListsAreACountOfZero )
{
    EXPECT_EQ( Write( XNetJob(), kIntelOrder ), "da070000" + std::string( 48, '0' ) );
    EXPECT_EQ(
        Write( XNetJobQueueNode::XAssignedJobInfo(), kIntelOrder ), "e2070000" + std::string( 48, '0' ) );
    EXPECT_EQ(
        Write( XNetJobQueue::XJobAttachmentInfo(), kIntelOrder ),
        "de070000" + std::string( 32, '0' ) + "02000000" + std::string( 26, '0' ) );
}

TEST( NetJobRecordsTest, EveryTruncationIsTheEndOfTheStream )
{
    for ( const Record& record : MakeRecords() )
    {
        const XBytes bytes = FromHex( record.intel );
        for ( std::size_t length = 0; length < bytes.size(); ++length )
        {
            const XBytes cut( bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>( length ) );
            EXPECT_EQ( ErrorOfReading( *record.object, cut ), 1260u ) << record.name << ", " << length;
        }
    }
}

TEST( NetJobRecordsTest, RefuseOtherClassesAndNewerRevisions )
{
    for ( const Record& record : MakeRecords() )
    {
        XBytes bytes = FromHex( record.intel );
        ++bytes[2];
        EXPECT_EQ( ErrorOfReading( *record.object, bytes ), 1015u ) << record.name;
        --bytes[2];
        bytes[0] = 35;
        bytes[1] = 0;
        EXPECT_EQ( ErrorOfReading( *record.object, bytes ), 1005u ) << record.name;
    }
}

TEST( NetJobRecordsTest, RefuseWhatCannotBe )
{
    struct Damage
    {
        const char* record;
        const char* bytes;
        const char* replacement;
        std::uint32_t error;
    };
    const Damage kDamages[] = {
        { "XNetJob", "feffffff00000000", "feffffff01000000", 1005 }, // the reserved field
        { "XNetJob", "020000000b", "ffffffff0b", 1260 },             // forged counts
        { "XJobAttachmentInfo", "0200000003", "ffffffff03", 1260 },
        { "XLogonInfo", "02000000409c", "ffffffff409c", 1260 },
        { "XAssignedJobInfo", "020000000b", "ffffffff0b", 1260 },
        { "XJobProgressInfo", "0400000068616c66", "f0ffffff68616c66", 1260 },   // a forged length
        { "XJobAttachmentInfo", "0000000002000000", "0100000002000000", 1005 }, // the constants
        { "XJobAttachmentInfo", "0000000002000000", "0000000003000000", 1005 },
        { "XJobAttachmentInfo",
          "0807060504030201"
          "01",
          "0807060504030201"
          "02",
          1005 }, // flags
        { "XLogonInfo", "0108000000", "0208000000", 1005 },
        { "XLogonResult", "0600000000", "0600000002", 1005 },
        { "XConnectionInfo", "0600000000000000", "0600000003000000", 1005 }, // kinds that there are not
        { "XConnectionInfo", "0900000002000000", "0900000003000000", 1005 },
        { "XConnectionInfo", "010000001a02", "030000001a02", 1005 },
        { "XLogonInfo", "e007000001000000", "e007000002000000", 1005 },
        { "XConnectionInfo", "1a0200001a020000", "230000001a020000",
          1005 }, // objects of other classes, and none
        { "XConnectionInfo", "1a0200001a020000", "000000001a020000", 1005 },
        { "XLogonInfo", "d9070000d9070000", "1a020000d9070000", 1005 },
        { "XNetJobCompletedMessage", "db070000db070000", "dc070000db070000", 1005 },
        { "XNetJobCompletedMessage", "db070000db070000", "40ff0000db070000", 1003 },
        { "XAssignedJobInfo", "0200000000000000", "0100000000000000", 1005 }, // a size too few
    };
    for ( const Damage& damage : kDamages )
        EXPECT_EQ( ErrorOfReplacing( damage.record, damage.bytes, damage.replacement ), damage.error )
            << damage.record << ": " << damage.replacement;
    EXPECT_EQ( ErrorOf( [] { XNetJobQueueNode::XAssignedJobInfo( 1, 2, { 3 }, {} ); } ), 1013u );
}
