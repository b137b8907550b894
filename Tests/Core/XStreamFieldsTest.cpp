#include "Core/Streams/XStreamFields.h"

#include "Core/Streams/XMemStream.h"
#include "Core/Strings/XString.h"
#include "Ground/XErrorNumbers.h"
#include "Testing.h"

namespace
{
/// Writes down what it is told. Stops the reading at a field of a certain name.
struct Recorder : XStreamObserver
{
    std::string text;
    std::string last;

    void BeginField( SSize64 inPosition, const std::string& inName ) override
    {
        Add( "begin", inPosition, inName );
        if ( inName == last )
            XThrow( kErrorCancelled );
    }
    void BeginPart( SSize64 inPosition ) override { Add( "part", inPosition, "" ); }
    void EndField( SSize64 inEnd, const std::string& inText ) override { Add( "end", inEnd, inText ); }
    void BeginObject( SSize64 inPosition, XVersion inVersion ) override
    {
        Add( "object", inPosition, std::to_string( inVersion.GetClassID() ) );
    }
    void EndObject( SSize64 inEnd ) override { Add( "end of object", inEnd, "" ); }
    void ReturnToField( const std::string& inName ) override { Add( "return", 0, inName ); }
    void Refuse( const std::string& inReason ) override { Add( "refuse", 0, inReason ); }

private:
    void Add( const char* inWhat, SSize64 inPosition, const std::string& inText )
    {
        text += std::string( inWhat ) + ' ' + std::to_string( inPosition ) + ' ' + inText + '\n';
    }
};

struct XStreamFieldsTest : testing::Test
{
    XStreamFieldsTest()
    {
        itsStream.WriteStreamInfo();
        itsStream.WriteObject( XString( "abc" ) );
        itsStream.SeekTo( 0 );
        itsStream.SetObserver( &itsRecorder, 100 );
    }

    XMemStream itsStream;
    Recorder itsRecorder;
};

/// A class that no string descends from.
struct Other : XString
{
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotTable ); }
};
} // namespace

TEST_F( XStreamFieldsTest, AreReportedInOrderWithTheirPlaces )
{
    itsStream.ReadStreamInfo();
    EXPECT_EQ( *itsStream.ReadObjectOf<XString>(), "abc" );
    EXPECT_EQ(
        itsRecorder.text,
        "begin 100 the byte order mark\n"
        "end 101 Byte order I: Intel, low byte first\n"
        "begin 101 the version of the stream\n"
        "end 105 Stream: class 49, revision 2\n"
        "begin 105 the version of an object\n"
        "begin 105 the version of an object\n"
        "object 105 35\n"
        "begin 109 a version\n"
        "end 113 Version: class 35, revision 0\n"
        "end of object 120 \n" );
}

TEST_F( XStreamFieldsTest, TellWhyAnObjectIsRefused )
{
    itsStream.ReadStreamInfo();
    const auto position = itsStream.GetPosition();
    EXPECT_ERROR( kErrorStreamCorrupted, itsStream.ReadObjectOf<Other>() );
    EXPECT_EQ( itsStream.GetPosition(), position ); // nothing was made of it
    EXPECT_CONTAINS( itsRecorder.text, "has no place here" );
}

TEST_F( XStreamFieldsTest, EndWithWhatTheObserverThrows )
{
    itsRecorder.last = "the version of the stream";
    EXPECT_ERROR( kErrorCancelled, itsStream.ReadStreamInfo() );
}

TEST_F( XStreamFieldsTest, AreNotDescribedToNobody )
{
    itsStream.SetObserver( nullptr );
    const auto describe = []() -> std::string { throw std::logic_error( "described" ); };
    XBeginField( itsStream, describe );
    XEndField( itsStream, describe );
    EXPECT_ERROR( kErrorBadParameters, XRefuse( itsStream, kErrorBadParameters, describe ) );
}
