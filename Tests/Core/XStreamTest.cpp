#include "Core/Streams/XStream.h"

#include "Core/Identifiers/XUUID.h"
#include "Core/Storables/XARGB32Colour.h"
#include "Core/Streams/XFileStream.h"
#include "Core/Streams/XStreamVectors.h"
#include "Core/Streams/XStringStream.h"
#include "StreamTools.h"
#include "TestFolder.h"

namespace
{
const std::uint8_t kUUIDBytes[16] = { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 };

void WriteOneOfEach( XStream& outStream )
{
    outStream.Write8( 0x81 );
    outStream.Write8S( -2 );
    outStream.Write16( 0x0102 );
    outStream.Write16S( -2 );
    outStream.Write32( 0x01020304 );
    outStream.Write32S( -2 );
    outStream.Write64( 0x0102030405060708 );
    outStream.Write64S( -2 );
    outStream.WriteFloat32S( 1.5f );
    outStream.WriteFloat64S( -2.0 );
    outStream.WriteUUID( XUUID( kUUIDBytes ) );
    outStream.WriteARGB32( { 1, 2, 3, 4 } );
    outStream.WriteVersion( { 35, 2 } );
    outStream.WriteString( "ab" );
    outStream.WriteBool( true );
}

/// Peeks and then reads one value, which must be the same.
template<class T, class TPeek, class TRead>
void ExpectNext( XStream& ioStream, const T& inExpected, TPeek inPeek, TRead inRead )
{
    const SSize64 position = ioStream.GetPosition();
    EXPECT_TRUE( ( ioStream.*inPeek )() == inExpected ) << "peeked at " << position;
    EXPECT_EQ( ioStream.GetPosition(), position );
    EXPECT_TRUE( ( ioStream.*inRead )() == inExpected ) << "read at " << position;
}

void ExpectOneOfEach( XStream& ioStream )
{
    using S = XStream;
    ExpectNext<std::uint8_t>( ioStream, 0x81, &S::Peek8, &S::Read8 );
    ExpectNext<std::int8_t>( ioStream, -2, &S::Peek8S, &S::Read8S );
    ExpectNext<std::uint16_t>( ioStream, 0x0102, &S::Peek16, &S::Read16 );
    ExpectNext<std::int16_t>( ioStream, -2, &S::Peek16S, &S::Read16S );
    ExpectNext<std::uint32_t>( ioStream, 0x01020304, &S::Peek32, &S::Read32 );
    ExpectNext<std::int32_t>( ioStream, -2, &S::Peek32S, &S::Read32S );
    ExpectNext<std::uint64_t>( ioStream, 0x0102030405060708, &S::Peek64, &S::Read64 );
    ExpectNext<std::int64_t>( ioStream, -2, &S::Peek64S, &S::Read64S );
    ExpectNext( ioStream, 1.5f, &S::PeekFloat32S, &S::ReadFloat32S );
    ExpectNext( ioStream, -2.0, &S::PeekFloat64S, &S::ReadFloat64S );
    ExpectNext( ioStream, XUUID( kUUIDBytes ), &S::PeekUUID, &S::ReadUUID );
    ExpectNext( ioStream, XARGB32Colour( 1, 2, 3, 4 ), &S::PeekARGB32, &S::ReadARGB32 );
    ExpectNext( ioStream, XVersion( 35, 2 ), &S::PeekVersion, &S::ReadVersion );
    EXPECT_TRUE( ioStream.ReadString() == "ab" );
    EXPECT_TRUE( ioStream.ReadBool() );
}

/// A stream over a vector that the test can look into, told to refuse transfers, or to hide its extent.
struct XModelStream : XStream
{
    XModelStream( USize64 inBufferSize, bool inBufferedReads, bool inBoundedReads )
        : XStream( inBufferSize, inBufferedReads, inBoundedReads )
    {
    }

    XBytes bytes;
    bool isOpenEnded = false;
    bool isBroken = false;
    USize64 mostBytesAsked = 0;

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override
    {
        const USize64 position = static_cast<USize64>( inPosition );
        mostBytesAsked = std::max( mostBytesAsked, position + count );
        if ( isBroken )
            throw XException( 1021 );
        if ( position + count > bytes.size() )
            throw XException( 1260 );
        std::memcpy( buffer, bytes.data() + position, count );
    }
    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override
    {
        if ( isBroken )
            throw XException( 1263 );
        bytes.resize( std::max( bytes.size(), static_cast<USize64>( inPosition ) + count ) );
        std::memcpy( bytes.data() + inPosition, buffer, count );
    }
    SSize64 GetExtentSelf() override { return isOpenEnded ? -1 : static_cast<SSize64>( bytes.size() ); }
    void SetExtentSelf( SSize64 inExtent ) override { bytes.resize( static_cast<USize64>( inExtent ) ); }
};

/// Random operations on a stream, each held against a plain vector.
struct XStreamExerciser
{
    XStreamExerciser( XStream& ioStream, unsigned inSeed, bool inMayLeaveGaps )
        : itsStream( ioStream ), itsRandom( inSeed ), itsMayLeaveGaps( inMayLeaveGaps )
    {
        itsStream.SetByteOrder( inSeed % 2 ? kMotorolaOrder : kIntelOrder );
    }

    void Run( int inSteps )
    {
        for ( int i = 0; i < inSteps && !testing::Test::HasFailure(); ++i )
        {
            Step();
            ASSERT_EQ( itsStream.GetPosition(), itsPosition ) << "step " << i;
            ASSERT_EQ( itsStream.GetExtent(), static_cast<SSize64>( bytes.size() ) ) << "step " << i;
        }
    }

    XBytes bytes;

private:
    void Step()
    {
        switch ( Random( 9 ) )
        {
        case 0:
        case 1:
            return Write();
        case 2:
            return WriteSwapped();
        case 3:
        case 4:
            return Read( false );
        case 5:
            return Read( true );
        case 6:
            itsPosition = static_cast<SSize64>( Random( bytes.size() + ( itsMayLeaveGaps ? 9 : 1 ) ) );
            return itsStream.SeekTo( itsPosition );
        case 7:
            return UseWhatIsLent();
        default:
            return Resize();
        }
    }

    USize64 Random( USize64 inLimit ) { return itsRandom() % inLimit; }
    USize64 RandomCount() { return Random( Random( 4 ) ? 12 : 90 ); }

    void Apply( const XBytes& inWritten )
    {
        if ( inWritten.empty() )
            return;
        const USize64 end = static_cast<USize64>( itsPosition ) + inWritten.size();
        bytes.resize( std::max( bytes.size(), end ) );
        std::copy( inWritten.begin(), inWritten.end(), bytes.begin() + itsPosition );
        itsPosition = static_cast<SSize64>( end );
    }

    bool IsBeyondEnd() const { return itsPosition > static_cast<SSize64>( bytes.size() ); }

    void Write()
    {
        if ( IsBeyondEnd() && !itsMayLeaveGaps )
            return;
        XBytes written( RandomCount() );
        for ( std::uint8_t& byte : written )
            byte = static_cast<std::uint8_t>( itsRandom() );
        itsStream.WriteBuffer8( written.data(), written.size() );
        Apply( written );
    }

    void WriteSwapped()
    {
        if ( IsBeyondEnd() && !itsMayLeaveGaps )
            return;
        XVector<std::uint32_t> values( RandomCount() / 4, 0x01020304 );
        itsStream.WriteBuffer32( values.data(), values.size() );
        const XBytes one =
            itsStream.GetByteOrder() == kIntelOrder ? FromHex( "04030201" ) : FromHex( "01020304" );
        XBytes written;
        for ( std::size_t i = 0; i < values.size(); ++i )
            written.insert( written.end(), one.begin(), one.end() );
        Apply( written );
    }

    void Read( bool inPeeks )
    {
        XBytes read( RandomCount() );
        const auto call = [&]
        {
            if ( inPeeks )
                itsStream.PeekBuffer8( read.data(), read.size() );
            else
                itsStream.ReadBuffer8( read.data(), read.size() );
        };
        const SSize64 end = itsPosition + static_cast<SSize64>( read.size() );
        if ( !read.empty() && end > static_cast<SSize64>( bytes.size() ) )
        {
            EXPECT_EQ( ErrorOf( call ), 1260u );
            return;
        }
        call();
        EXPECT_TRUE(
            std::equal( read.begin(), read.end(), bytes.begin() + ( read.empty() ? 0 : itsPosition ) ) );
        if ( !inPeeks )
            itsPosition = end;
    }

    void UseWhatIsLent()
    {
        const auto lent = itsStream.LendBytes();
        for ( USize64 i = 0; i < lent.size(); ++i )
            EXPECT_EQ( lent[i], bytes[USize64( itsPosition ) + i] );
        const USize64 read = Random( lent.size() + 1 );
        itsStream.PassLent( read );
        itsPosition += static_cast<SSize64>( read );

        const auto room = itsStream.LendRoom();
        const XBytes written( Random( room.size() + 1 ), 0x11 );
        std::ranges::fill( room, std::uint8_t( 0xEE ) ); // what is not passed is never seen
        std::ranges::copy( written, room.begin() );
        itsStream.PassLent( written.size() );
        Apply( written );
    }

    void Resize()
    {
        if ( Random( 3 ) )
            return itsStream.Flush();
        const USize64 extent = Random( bytes.size() + 40 );
        itsStream.SetExtent( static_cast<SSize64>( extent ) );
        bytes.resize( extent );
    }

    XStream& itsStream;
    std::mt19937 itsRandom;
    bool itsMayLeaveGaps;
    SSize64 itsPosition = 0;
};

} // namespace

TEST( XStreamTest, EncodesEveryPrimitiveInBothOrders )
{
    const std::string intel =
        "81 fe 0201 feff 04030201 feffffff 0807060504030201 feffffffffffffff 0000c03f"
        "00000000000000c0 000102030405060708090a0b0c0d0e0f 01020304 23000200 020000006162 01";
    const std::string motorola =
        "81 fe 0102 fffe 01020304 fffffffe 0102030405060708 fffffffffffffffe 3fc00000"
        "c000000000000000 000102030405060708090a0b0c0d0e0f 01020304 00020023 000000026162 01";
    for ( const XByteOrder order : { kIntelOrder, kMotorolaOrder } )
    {
        const XBytes golden = FromHex( order == kIntelOrder ? intel : motorola );
        XMemStream memory;
        memory.SetByteOrder( order );
        WriteOneOfEach( memory );
        EXPECT_EQ( BytesOf( memory ), golden );

        XModelStream buffered( 5, true, true ); // every border lies in the middle of something
        buffered.SetByteOrder( order );
        WriteOneOfEach( buffered );
        buffered.Flush();
        EXPECT_EQ( buffered.bytes, golden );

        XMemStream reader( golden.data(), golden.size() );
        reader.SetByteOrder( order );
        ExpectOneOfEach( reader );
        buffered.SeekTo( 0 );
        ExpectOneOfEach( buffered );
        EXPECT_TRUE( buffered.IsAtEOF() );
    }
}

TEST( XStreamTest, SwapsArraysOfEveryLengthAndLeavesTheCallersAlone )
{
    XBytes bytes( 8 * 100 + 1 );
    std::iota( bytes.begin(), bytes.end(), std::uint8_t( 0 ) );
    for ( const unsigned width : { 2u, 4u, 8u } )
    {
        for ( std::size_t count = 0; count <= 100; ++count )
        {
            XBytes expected(
                bytes.begin() + 1, bytes.begin() + 1 + static_cast<std::ptrdiff_t>( count * width ) );
            for ( auto at = expected.begin(); at != expected.end(); at += width )
                std::reverse( at, at + width );

            const XBytes source = bytes;
            XMemStream stream;
            stream.SetByteOrder( kMotorolaOrder );
            stream.WriteElements( source.data() + 1, count, width );
            ASSERT_EQ( BytesOf( stream ), expected ) << width << " x " << count;
            ASSERT_EQ( source, bytes );

            XBytes back( count * width + 1 );
            stream.SeekTo( 0 );
            stream.PeekElements( back.data() + 1, count, width );
            ASSERT_TRUE( std::equal( back.begin() + 1, back.end(), bytes.begin() + 1 ) );
            stream.ReadElements( back.data() + 1, count, width );
            ASSERT_TRUE( std::equal( back.begin() + 1, back.end(), bytes.begin() + 1 ) );
        }
    }
}

TEST( XStreamTest, SwappedWritesLargerThanTheTemporarySpaceArriveWhole )
{
    XVector<std::uint64_t> values( 50000 );
    std::iota( values.begin(), values.end(), 0x0102030405060708u );
    for ( const USize64 bufferSize : { 0, 100, 1 << 20 } )
    {
        XModelStream stream( bufferSize, true, true );
        stream.SetByteOrder( kMotorolaOrder );
        stream.Write8( 7 );
        XWriteVector( stream, values );
        stream.SeekTo( 1 );
        XVector<std::uint64_t> back;
        XReadVector( stream, back );
        EXPECT_EQ( back, values );
        EXPECT_EQ( stream.bytes[5], 1 );
    }
}

TEST( XStreamTest, BehavesAsAPlainVectorDoes )
{
    for ( unsigned seed = 0; seed < 40; ++seed )
    {
        XModelStream buffered( 1 + seed, seed % 3 != 0, true );
        XStreamExerciser bufferedRun( buffered, seed, true );
        bufferedRun.Run( 400 );
        buffered.Flush();
        EXPECT_EQ( buffered.bytes, bufferedRun.bytes );

        XMemStream memory( seed * 8 );
        XStreamExerciser memoryRun( memory, seed, true );
        memoryRun.Run( 400 );
        EXPECT_EQ( BytesOf( memory ), memoryRun.bytes );

        XString text;
        XStringStream strings( text );
        XStreamExerciser stringRun( strings, seed, false );
        stringRun.Run( 400 );
        EXPECT_TRUE( std::ranges::equal(
            text.GetStringView(), stringRun.bytes, {},
            []( char c ) { return static_cast<std::uint8_t>( c ); } ) );
    }
}

TEST( XStreamTest, FilesBehaveAsAPlainVectorDoes )
{
    const TestFolder folder;
    const std::filesystem::path path = folder / "model";
    for ( unsigned seed = 0; seed < 6; ++seed )
    {
        XFileStream file( path, WFile::kCreate, seed * 13 );
        XStreamExerciser run( file, seed, true );
        run.Run( 300 );
        file.Close();

        XFileStream reader( path );
        XBytes back( run.bytes.size() );
        reader.ReadBuffer8( back.data(), back.size() );
        EXPECT_EQ( back, run.bytes );
        EXPECT_TRUE( reader.IsAtEOF() );
    }
}

TEST( XStreamTest, ReportsAFullDiskAtTheLatestWhenClosed )
{
    if ( !HasFullDevice() )
        GTEST_SKIP() << "this system has no device that is always full";
    XFileStream file( kFullDevice, WFile::kReadWrite );
    file.Write32( 1 );
    EXPECT_ERROR( 1263, file.Flush() );
    EXPECT_ERROR( 1263, file.Close() );
    file.Close(); // is closed all the same
}

TEST( XStreamTest, RefusesToReadBeyondABoundedEnd )
{
    const XBytes eight( 8, 0x11 );
    XMemStream memory( eight.data(), eight.size() );
    XModelStream buffered( 4, true, true );
    buffered.bytes = eight;
    for ( XStream* stream : { static_cast<XStream*>( &memory ), static_cast<XStream*>( &buffered ) } )
    {
        XBytes ten( 10 );
        EXPECT_ERROR( 1260, stream->ReadBuffer8( ten.data(), ten.size() ) );
        EXPECT_ERROR( 1260, stream->ReadBuffer64( ten.data(), USize64( 1 ) << 61 ) );
        EXPECT_ERROR( 1260, stream->PeekBuffer8( ten.data(), ~USize64( 0 ) ) );
        EXPECT_ERROR( 1260, stream->ReadBuffer8( ten.data(), ~USize64( 0 ) ) );
        EXPECT_ERROR( 1013, stream->WriteBuffer8( ten.data(), ~USize64( 0 ) ) );
        EXPECT_EQ( stream->GetPosition(), 0 );
        EXPECT_EQ( stream->Read64(), 0x1111111111111111u );
        EXPECT_ERROR( 1260, stream->Read8() );
        stream->SeekTo( 100 );
        EXPECT_TRUE( stream->IsAtEOF() );
        EXPECT_ERROR( 1260, stream->Read8() );
        EXPECT_ERROR( 1013, stream->Seek( -101 ) );
        EXPECT_EQ( stream->GetPosition(), 100 );
    }
}

TEST( XStreamTest, RefusesToWriteBeyondTheLastPosition )
{
    XModelStream stream( 16, true, true );
    stream.isOpenEnded = true; // nothing else ends the writing
    stream.SeekTo( std::numeric_limits<SSize64>::max() - 6 );
    stream.Write32( 1 );
    EXPECT_ERROR( 1013, stream.Write32( 2 ) );
    stream.Write16( 3 );
    EXPECT_ERROR( 1013, stream.Write8( 4 ) );
    EXPECT_EQ( stream.GetPosition(), std::numeric_limits<SSize64>::max() );
}

TEST( XStreamTest, AsksAnOpenEndedStreamForNoMoreThanItNeeds )
{
    XModelStream stream( 64, true, true );
    stream.isOpenEnded = true;
    stream.bytes.resize( 100 );
    stream.Read32();
    EXPECT_EQ( stream.mostBytesAsked, 4u );
    EXPECT_EQ( stream.GetExtent(), -1 );
    EXPECT_FALSE( stream.IsAtEOF() );
    XBytes rest( 97 );
    EXPECT_ERROR( 1260, stream.ReadBuffer8( rest.data(), rest.size() ) );
    EXPECT_EQ( stream.GetPosition(), 4 );
}

TEST( XStreamTest, KeepsWrittenBytesWhenATransferFails )
{
    XModelStream stream( 16, true, true );
    stream.Write64( 1 );
    stream.isBroken = true;
    EXPECT_ERROR( 1263, stream.Flush() );
    EXPECT_ERROR( 1263, stream.SeekTo( 100 ) );
    EXPECT_EQ( stream.GetPosition(), 8 );
    EXPECT_EQ( stream.GetExtent(), 8 );
    stream.isBroken = false;
    stream.Write64( 2 );
    stream.Flush();
    EXPECT_EQ( stream.bytes.size(), 16u );

    stream.SeekTo( 0 );
    stream.isBroken = true;
    EXPECT_ERROR( 1021, stream.Read32() );
    stream.isBroken = false;
    EXPECT_EQ( stream.Read64(), 1u );
    EXPECT_EQ( stream.Read64(), 2u );
}

TEST( XStreamTest, WritesAndReadsItsHeader )
{
    XMemStream header;
    header.WriteStreamInfo();
    EXPECT_EQ( Hex( header ), kPlatformByteOrder == kIntelOrder ? "4931000200" : "4d00020031" );

    const auto read = []( const char* inHex, SSize64 inPosition, std::uint32_t inVersion )
    {
        const XBytes bytes = FromHex( inHex );
        XMemStream stream( bytes.data(), bytes.size() );
        stream.ReadStreamInfo();
        EXPECT_EQ( stream.GetPosition(), inPosition ) << inHex;
        EXPECT_EQ( stream.GetStreamVersion(), XVersion( inVersion ) ) << inHex;
        return stream.IsAtEOF() ? 0 : stream.Read32();
    };
    EXPECT_EQ( read( "49 31000200 01000000", 5, 0x20031 ), 1u );
    EXPECT_EQ( read( "4d 00020031 00000001", 5, 0x20031 ), 1u );
    EXPECT_EQ( read( "4d 00010031", 5, 0x10031 ), 0u );
    EXPECT_EQ( read( "49 07000000", 1, 0x31 ), 7u ); // no version: an old stream
    EXPECT_EQ( read( "49", 1, 0x31 ), 0u );
    EXPECT_ERROR( 1015, read( "49 31000300", 0, 0 ) );
    EXPECT_ERROR( 1005, read( "4a 31000200", 0, 0 ) );
    EXPECT_ERROR( 1260, read( "", 0, 0 ) );
}

TEST( XStreamTest, ReadsStringsOfBothLengthForms )
{
    const auto read = []( const char* inHex )
    {
        const XBytes bytes = FromHex( inHex );
        XMemStream stream( bytes.data(), bytes.size() );
        return std::string( stream.ReadString() );
    };
    XMemStream empty;
    empty.WriteString( "" );
    EXPECT_EQ( Hex( empty ), "00000000" );
    EXPECT_EQ( read( "02000000 4100" ), std::string( "A\0", 2 ) );
    EXPECT_EQ( read( "ffffffff 0200000000000000 4142" ), "AB" );
    for ( const char* claim :
          { "feffffff 41", "ffffffff ffffffffffffff7f 41", "ffffffff ffffffffffffffff", "020000" } )
        EXPECT_ERROR( 1260, read( claim ) ) << claim;

    const XBytes notABool = FromHex( "02" );
    XMemStream stream( notABool.data(), notABool.size() );
    EXPECT_ERROR( 1005, stream.ReadBool() );
}

TEST( XStreamTest, ClaimsOfAnOpenEndedStreamAllocateInSteps )
{
    XModelStream stream( 0, false, false );
    stream.isOpenEnded = true;
    stream.Write32( 0xFFFFFFFE );
    stream.WriteFiller( 10 );
    stream.SeekTo( 0 );
    EXPECT_ERROR( 1260, stream.ReadString() );
    stream.SeekTo( 0 );
    XVector<double> values;
    EXPECT_ERROR( 1260, XReadVector( stream, values ) );
    EXPECT_LE( values.capacity() * sizeof( double ), XStream::kReadStep );
}

TEST( XStreamTest, EncodesVectors )
{
    const XVector<std::uint16_t> shorts = { 1, 2, 0x0304 };
    const XVector<XString> strings = { "a", "" };
    const XVector<XUUID> uuids = { XUUID( kUUIDBytes ) };
    XMemStream stream;
    stream.SetByteOrder( kMotorolaOrder );
    XWriteVector( stream, shorts );
    XWriteVector( stream, strings );
    XWriteVector( stream, uuids );
    XWriteVector( stream, XVector<XVersion>{ { 35, 1 } } );
    EXPECT_EQ(
        Hex( stream ),
        "00000003000100020304"
        "00000002000000230000000161"
        "0000002300000000"
        "00000001000102030405060708090a0b0c0d0e0f"
        "0000000100010023" );
    EXPECT_EQ( XGetValueVectorStreamUsage( shorts ), 10u );
    EXPECT_EQ(
        XGetValueVectorStreamUsage( strings ),
        4 + strings[0].GetStreamUsage() + strings[1].GetStreamUsage() );
    EXPECT_EQ( XGetValueVectorStreamUsage( XVector<double>() ), 4u );

    stream.SeekTo( 0 );
    XVector<std::uint16_t> shortsBack;
    XStreamingPtrVector<XString> stringsBack;
    XStreamingVector<XUUID> uuidsBack;
    XReadVector( stream, shortsBack );
    stringsBack.ReadStream( stream );
    uuidsBack.ReadStream( stream );
    EXPECT_EQ( shortsBack, shorts );
    ASSERT_EQ( stringsBack.size(), 2u );
    EXPECT_TRUE( *stringsBack[0] == "a" );
    EXPECT_TRUE( uuidsBack == uuids );
}

TEST( XStreamTest, ReadsLinesAndWords )
{
    XModelStream stream( 3, true, true );
    stream.WriteLine( "one" );
    stream.WriteText( "two\rthree\n\n\r last\tword " );
    stream.SeekTo( 0 );
    for ( const char* line : { "one", "two", "three", "" } )
        EXPECT_TRUE( stream.ReadLine() == line ) << line;
    stream.SkipNewlines();
    EXPECT_TRUE( stream.ReadWord() == "last" );
    EXPECT_EQ( stream.Peek8(), '\t' );
    EXPECT_TRUE( stream.ReadWord() == "word" );
    EXPECT_ERROR( 1260, stream.ReadWord() );
    EXPECT_ERROR( 1260, stream.ReadLine() );

    stream.bytes = { 'a', 0, 'b' };
    XModelStream nul( 3, true, true );
    nul.bytes = { 'a', 0, 'b' };
    EXPECT_ERROR( 1262, nul.ReadLine() );
    nul.SeekTo( 0 );
    EXPECT_ERROR( 1262, nul.ReadWord() );
}

TEST( XStreamTest, FindsTextAcrossTheBordersOfItsBuffer )
{
    XModelStream stream( 7, true, true );
    stream.WriteFiller( 65530, 'a' );
    stream.WriteText( "aabaabaac" ); // across the border of a search step too
    stream.SeekTo( 3 );
    EXPECT_EQ( stream.FindString( "aabaac" ), 65533 );
    EXPECT_EQ( stream.FindString( "aaa" ), 3 );
    EXPECT_EQ( stream.FindString( "ca" ), -1 );
    EXPECT_EQ( stream.FindString( "" ), -1 );
    EXPECT_EQ( stream.GetPosition(), 3 );
    stream.SeekTo( 65534 );
    EXPECT_EQ( stream.FindString( "aabaac" ), -1 );
    EXPECT_EQ( stream.FindString( "c" ), 65538 );
}

TEST( XMemStreamTest, KeepsContentsAndPositionWhenRoomIsMade )
{
    XMemStream stream;
    stream.WriteText( "abc" );
    {
        const XStream::XPositionSaver saver( stream );
        stream.SeekTo( 1 );
        stream.SetPhysicalSize( 1000 );
        EXPECT_EQ( stream.Read8(), 'b' );
    }
    const std::uint8_t* data = stream.GetData();
    stream.WriteFiller( 997, 'd' );
    EXPECT_EQ( stream.GetData(), data );
    EXPECT_EQ( Hex( stream ).substr( 0, 8 ), "61626364" );
    stream.Clear();
    EXPECT_EQ( stream.GetExtent(), 0 );
    EXPECT_EQ( stream.GetPosition(), 0 );
}

TEST( XStringStreamTest, SplicesWhatIsWrittenIntoTheString )
{
    XString text = "abcdef";
    const XString copy = text;
    XStringStream stream( text );
    stream.SeekTo( 4 );
    stream.WriteText( "XYZ" );
    EXPECT_TRUE( text == "abcdXYZ" );
    EXPECT_TRUE( copy == "abcdef" );
    stream.SeekTo( 1 );
    stream.WriteText( "-" );
    EXPECT_TRUE( text == "a-cdXYZ" );
    stream.SeekTo( 8 );
    EXPECT_ERROR( 1006, stream.Write8( 'x' ) );
    stream.SetExtent( 2 );
    EXPECT_TRUE( text == "a-" );

    XStringStream reader( copy );
    EXPECT_EQ( reader.Read8(), 'a' );
    EXPECT_ERROR( 1006, reader.Write8( 'x' ) );
    EXPECT_ERROR( 1006, reader.Truncate() );
}
