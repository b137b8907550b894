#include "Core/Storables/XStorable.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStreamVectors.h"
#include "StreamTools.h"

namespace
{
/// A base with a number; counts its objects, so that a test sees what is left behind.
struct XShape : XStorable
{
    static XVersion GetClassVersion() { return { 60001, 1 }; }
    static XVersion GetSuperClassVersion() { return 0; }
    static int sObjects;

    XShape() { ++sObjects; }
    XShape( const XShape& inOther ) : XStorable( inOther ), itsNumber( inOther.itsNumber ) { ++sObjects; }
    ~XShape() override { --sObjects; }

    XVersion GetVersion() const override { return GetClassVersion(); }
    XShape* Clone() const override { return new XShape( *this ); }
    USize64 GetStreamUsage() const override { return 8; }
    void WriteStream2( XStream& inStream, XOptions ) const override
    {
        inStream.WriteVersion( GetClassVersion() );
        inStream.Write32( itsNumber );
    }
    void ReadStream2( XStream& inStream, XOptions ) override
    {
        itsReadVersion = ReadCheckedVersion( inStream, GetClassVersion() );
        itsNumber = inStream.Read32();
    }

    std::uint32_t itsNumber = 0;
    XVersion itsReadVersion;
};

int XShape::sObjects = 0;

/// Derives from it and owns a nested object, a text and a list.
struct XGroup : XShape
{
    static XVersion GetClassVersion() { return { 60002, 0 }; }
    static XVersion GetSuperClassVersion() { return XShape::GetClassVersion(); }

    XVersion GetVersion() const override { return GetClassVersion(); }
    XGroup* Clone() const override { return nullptr; }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        XShape::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.WriteObject( itsChild.get(), inOptions );
        inStream.WriteString( itsName );
        XWriteVector( inStream, itsValues );
    }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        XShape::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetClassVersion() );
        itsChild.reset( inStream.ReadObject( inOptions ) );
        inStream.ReadString( itsName );
        XReadVector( inStream, itsValues );
    }

    std::unique_ptr<XStorable> itsChild;
    XString itsName;
    XVector<std::uint16_t> itsValues;
};

/// Owns others of its kind by a vector.
struct XTree : XShape
{
    static XVersion GetClassVersion() { return { 60003, 0 }; }
    static XVersion GetSuperClassVersion() { return XShape::GetClassVersion(); }

    XVersion GetVersion() const override { return GetClassVersion(); }
    XTree* Clone() const override { return nullptr; }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        itsChildren.WriteStream( inStream, inOptions );
    }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        itsChildren.ReadStream( inStream, inOptions );
    }

    XStreamingPtrVector<XTree> itsChildren;
};

struct XStorableTest : testing::Test
{
    void SetUp() override
    {
        XClassRegistry::RegisterCoreClasses();
        XClassRegistry::RegisterClass<XShape>( "Shape" );
        XClassRegistry::RegisterClass<XGroup>( "Group" );
        XShape::sObjects = 0;
    }

    void TearDown() override
    {
        EXPECT_EQ( XShape::sObjects, 0 );
        XClassRegistry::UnregisterClassA( XShape::GetClassVersion() );
        XClassRegistry::UnregisterClassA( XGroup::GetClassVersion() );
    }

    static XBytes MakeGroup()
    {
        XGroup group;
        group.itsNumber = 5;
        group.itsName = "ab";
        group.itsValues = { 1, 2, 3 };
        group.itsChild = std::make_unique<XString>( "child" );
        XMemStream stream;
        stream.WriteObject( group );
        return BytesOf( stream );
    }

    static std::unique_ptr<XStorable> Read( const XBytes& inBytes )
    {
        XMemStream stream( inBytes.data(), inBytes.size() );
        return std::unique_ptr<XStorable>( stream.ReadObject() );
    }
};
} // namespace

TEST_F( XStorableTest, WritesTheVersionTwiceAndBasesFirst )
{
    XMemStream stream;
    stream.SetByteOrder( kIntelOrder );
    stream.WriteObject( XString( "ab" ) );
    EXPECT_EQ( Hex( stream ), "2300000023000000020000006162" );

    stream.Clear();
    XGroup group;
    group.itsNumber = 7;
    stream.WriteObject( group );
    EXPECT_EQ(
        Hex( stream ),
        "62ea0000"
        "61ea0100"
        "07000000"
        "62ea0000"
        "00000000"
        "00000000"
        "00000000" );
}

TEST_F( XStorableTest, ReadsBackWhatWasWritten )
{
    const XBytes bytes = MakeGroup();
    XMemStream stream( bytes.data(), bytes.size() );
    const std::unique_ptr<XStorable> object( stream.ReadObject() );
    const XGroup* group = dynamic_cast<XGroup*>( object.get() );
    ASSERT_TRUE( group );
    EXPECT_EQ( group->itsNumber, 5u );
    EXPECT_TRUE( group->itsName == "ab" );
    EXPECT_EQ( group->itsValues, ( XVector<std::uint16_t>{ 1, 2, 3 } ) );
    EXPECT_TRUE( dynamic_cast<XString&>( *group->itsChild ) == "child" );
    EXPECT_EQ( stream.GetLastClassCreated(), XString::GetClassVersion() );
    EXPECT_TRUE( stream.IsAtEOF() );
    EXPECT_TRUE( object->IsA( XShape() ) );
    EXPECT_FALSE( XShape().IsA( *object ) );
}

TEST_F( XStorableTest, StoresANullPointerAsVersionZero )
{
    XMemStream stream;
    stream.WriteObject( nullptr );
    EXPECT_EQ( Hex( stream ), "00000000" );
    stream.SeekTo( 0 );
    EXPECT_EQ( stream.ReadObject(), nullptr );
    EXPECT_EQ( stream.GetLastClassCreated(), XVersion( 0 ) );
}

TEST_F( XStorableTest, MeetsDamageWithADocumentedNumberAndLeavesNothingBehind )
{
    const XBytes bytes = MakeGroup();
    for ( std::size_t length = 0; length < bytes.size(); ++length )
    {
        EXPECT_ERROR( 1260, Read( XBytes( bytes.begin(), bytes.begin() + std::ptrdiff_t( length ) ) ) )
            << length;
        EXPECT_EQ( XShape::sObjects, 0 );
    }
    std::set<std::uint32_t> errors;
    for ( std::size_t bit = 0; bit < bytes.size() * 8; ++bit )
    {
        XBytes damaged = bytes;
        damaged[bit / 8] = static_cast<std::uint8_t>( damaged[bit / 8] ^ ( 1u << ( bit % 8 ) ) );
        errors.insert( ErrorOrZero( [&] { Read( damaged ); } ) );
        EXPECT_EQ( XShape::sObjects, 0 ) << bit;
    }
    EXPECT_EQ( errors, ( std::set<std::uint32_t>{ 0, 1003, 1005, 1015, 1260 } ) );
}

TEST_F( XStorableTest, RefusesOtherClassesAndNewerRevisions )
{
    EXPECT_ERROR( 1005, Read( FromHex( "23000000 61ea0000 00000000" ) ) );
    EXPECT_ERROR( 1015, Read( FromHex( "61ea0100 61ea0200 00000000" ) ) );
    EXPECT_ERROR( 1015, Read( FromHex( "61ea0200 61ea0100 00000000" ) ) );
    EXPECT_ERROR( 1003, Read( FromHex( "ffff0000 00000000" ) ) );
    EXPECT_ERROR( 1003, Read( FromHex( "00000100 00000000" ) ) );
    Read( FromHex( "61ea0000 61ea0000 00000000" ) ); // older
}

TEST_F( XStorableTest, WritesNothingNestedTooDeepToBeRead )
{
    const auto nest = []( unsigned inDepth )
    {
        std::unique_ptr<XStorable> outermost = std::make_unique<XShape>();
        for ( unsigned depth = 1; depth < inDepth; ++depth )
        {
            auto group = std::make_unique<XGroup>();
            group->itsChild = std::move( outermost );
            outermost = std::move( group );
        }
        return outermost;
    };
    XMemStream stream;
    EXPECT_ERROR( 1005, stream.WriteObject( *nest( XStream::kMaxObjectDepth + 1 ) ) );
    stream.Clear();
    stream.WriteObject( *nest( XStream::kMaxObjectDepth ) );
    stream.SeekTo( 0 );
    const std::unique_ptr<XStorable> back( stream.ReadObject() );
    EXPECT_EQ( XShape::sObjects, static_cast<int>( XStream::kMaxObjectDepth ) );
    EXPECT_TRUE( stream.IsAtEOF() );
}

TEST_F( XStorableTest, CountsObjectsInVectorsAsNested )
{
    const auto writeNested = []( XStream& ioStream, unsigned inDepth )
    {
        XTree outermost;
        XTree* innermost = &outermost;
        for ( unsigned depth = 1; depth < inDepth; ++depth )
            innermost = innermost->itsChildren.emplace_back( std::make_unique<XTree>() ).get();
        ioStream.WriteObject( outermost );
    };
    XClassRegistry::RegisterClass<XTree>( "Tree" );
    XMemStream stream;
    EXPECT_ERROR( 1005, writeNested( stream, XStream::kMaxObjectDepth + 1 ) );
    stream.Clear();
    writeNested( stream, XStream::kMaxObjectDepth );
    stream.SeekTo( 0 );
    const std::unique_ptr<XStorable> back( stream.ReadObject() );
    EXPECT_EQ( XShape::sObjects, static_cast<int>( XStream::kMaxObjectDepth ) );

    XBytes hostile = FromHex( "63ea0000" );
    for ( unsigned i = 0; i < 100000; ++i )
        hostile.insert( hostile.end(), { 1, 0, 0, 0 } );
    EXPECT_ERROR( 1005, Read( hostile ) );
    XClassRegistry::UnregisterClassA( XTree::GetClassVersion() );
}

TEST_F( XStorableTest, ReadsOldStreamsWithoutVersions )
{
    const auto read = []( const char* inHex )
    {
        const XBytes bytes = FromHex( inHex );
        XMemStream stream( bytes.data(), bytes.size() );
        stream.ReadStreamInfo();
        const std::unique_ptr<XStorable> object( stream.ReadObject() );
        EXPECT_TRUE( stream.IsAtEOF() ) << inHex;
        return std::pair(
            dynamic_cast<XShape&>( *object ).itsNumber, dynamic_cast<XShape&>( *object ).itsReadVersion );
    };
    using XResult = std::pair<std::uint32_t, XVersion>;
    EXPECT_EQ( read( "49 31000100 61ea0000 07000000" ), XResult( 7, { 60001, 1 } ) );          // none
    EXPECT_EQ( read( "49 31000100 61ea0000 61ea0000 07000000" ), XResult( 7, { 60001, 0 } ) ); // there
    EXPECT_EQ( read( "4d 0000ea61 00000007" ), XResult( 7, { 60001, 1 } ) ); // no header either

    const XBytes current = FromHex( "49 31000200 61ea0000 07000000" );
    XMemStream stream( current.data(), current.size() );
    stream.ReadStreamInfo();
    EXPECT_ERROR( 1005, delete stream.ReadObject() );
}
