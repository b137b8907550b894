#include "Core/Streams/XClassRegistry.h"

#include "StreamTools.h"

namespace
{
const XVersion kBase( 61000, 2 );
const XVersion kMiddle( 61001, 0 );
const XVersion kLeaf( 61002, 3 );
const XVersion kAlias( 61003, 0 );
const XVersion kAliasOfAlias( 61004, 0 );

XStorable* Create( XStream&, const XVersion&, XStorable::XOptions )
{
    return new XString( "current" );
}

XStorable* CreateOld( XStream&, const XVersion&, XStorable::XOptions )
{
    return new XString( "old" );
}

XStorable* CreateDefault()
{
    return new XString( "default" );
}

std::string Made( XStorable* inObject )
{
    const std::unique_ptr<XStorable> object( inObject );
    return std::string( dynamic_cast<XString&>( *object ) );
}

/// A stream of an old revision, or of the current one.
std::unique_ptr<XMemStream> StreamOf( const char* inHeader )
{
    auto stream = std::make_unique<XMemStream>();
    const XBytes bytes = FromHex( inHeader );
    stream->WriteBuffer8( bytes.data(), bytes.size() );
    stream->SeekTo( 0 );
    stream->ReadStreamInfo();
    return stream;
}

struct XClassRegistryTest : testing::Test
{
    void SetUp() override
    {
        XClassRegistry::RegisterClassA( kBase, 0, Create, CreateOld, CreateDefault, "Base" );
        XClassRegistry::RegisterClassA( kMiddle, kBase, Create, nullptr, nullptr, "Middle" );
        XClassRegistry::RegisterClassA( kLeaf, kMiddle, nullptr, nullptr, nullptr, "Leaf" );
        XClassRegistry::RegisterAlias( kAlias, kBase );
        XClassRegistry::RegisterAlias( kAliasOfAlias, kAlias );
    }

    void TearDown() override
    {
        for ( const XVersion& version : { kBase, kMiddle, kLeaf } )
            XClassRegistry::UnregisterClassA( version );
    }

    std::unique_ptr<XMemStream> itsCurrent = StreamOf( "49 31000200" );
    std::unique_ptr<XMemStream> itsOld = StreamOf( "49 31000100" );
};
} // namespace

TEST_F( XClassRegistryTest, KnowsWhatIsA )
{
    EXPECT_TRUE( XClassRegistry::IsA( { 35, 1 }, { 35, 0 } ) );
    EXPECT_TRUE( XClassRegistry::IsA( kLeaf, { kBase.GetClassID(), 9 } ) );
    EXPECT_FALSE( XClassRegistry::IsA( kBase, kLeaf ) );
    EXPECT_TRUE( XClassRegistry::IsA( kAliasOfAlias, kBase ) );
    EXPECT_FALSE( XClassRegistry::IsA( kBase, kAlias ) );
    EXPECT_FALSE( XClassRegistry::IsA( kLeaf, 0 ) );
    EXPECT_TRUE( XClassRegistry::IsAliasFor( kAlias, kBase ) );
    EXPECT_FALSE( XClassRegistry::IsAliasFor( kLeaf, kBase ) );
    EXPECT_EQ( XClassRegistry::GetDerivedClasses( kBase, false ), ( XVector<XVersion>{ kMiddle } ) );
    EXPECT_EQ( XClassRegistry::GetDerivedClasses( kBase, true ), ( XVector<XVersion>{ kMiddle, kLeaf } ) );
}

TEST_F( XClassRegistryTest, ChoosesTheCreatorByTheStream )
{
    EXPECT_EQ( Made( XClassRegistry::CreateObject( kBase, *itsCurrent ) ), "current" );
    EXPECT_EQ( Made( XClassRegistry::CreateObject( kBase, *itsOld ) ), "old" );
    EXPECT_EQ( Made( XClassRegistry::CreateObject( kBase ) ), "default" );
    EXPECT_EQ( Made( XClassRegistry::CreateObject( { 61000, 1 } ) ), "default" );
    EXPECT_EQ( Made( XClassRegistry::CreateObject( kAliasOfAlias ) ), "default" );
    EXPECT_EQ( Made( XClassRegistry::CreateObject( 0, kBase ) ), "default" );
}

TEST_F( XClassRegistryTest, SaysWhyAnObjectCannotBeMade )
{
    EXPECT_ERROR( 1015, XClassRegistry::CreateObject( { 61000, 3 } ) );
    EXPECT_ERROR( 1004, XClassRegistry::CreateObject( kMiddle ) );
    EXPECT_ERROR( 1004, XClassRegistry::CreateObject( kMiddle, *itsOld ) );
    EXPECT_ERROR( 1004, XClassRegistry::CreateObject( kLeaf, *itsCurrent ) );
    EXPECT_ERROR( 1003, XClassRegistry::CreateObject( 0 ) );
    EXPECT_ERROR( 1003, XClassRegistry::CreateObject( 61999, kBase ) );
    XClassRegistry::UnregisterClassA( kBase );
    EXPECT_FALSE( XClassRegistry::IsRegistered( kBase ) );
    EXPECT_ERROR( 1003, XClassRegistry::CreateObject( kAlias ) );
}

TEST_F( XClassRegistryTest, SurvivesCirclesOfAliasesAndAncestors )
{
    const XVersion first( 61010 ), second( 61011 );
    XClassRegistry::RegisterAlias( first, second );
    XClassRegistry::RegisterAlias( second, first );
    XClassRegistry::RegisterInheritance( first, second );
    XClassRegistry::RegisterInheritance( second, first );
    EXPECT_FALSE( XClassRegistry::IsA( first, kBase ) );
    EXPECT_TRUE( XClassRegistry::IsA( first, second ) );
    EXPECT_ERROR( 1003, XClassRegistry::CreateObject( first ) );
    EXPECT_EQ( XClassRegistry::GetDerivedClasses( first, true ), XVector<XVersion>{ second } );
}

TEST_F( XClassRegistryTest, DescribesClassesAndAliases )
{
    EXPECT_TRUE( XClassRegistry::GetClassDescription( kAlias ) == "Base" );
    EXPECT_TRUE( XClassRegistry::GetClassDescription( 61999 ).IsEmpty() );
    XClassRegistry::RegisterDescription( kBase, "Renamed" );
    EXPECT_TRUE( XClassRegistry::GetClassDescription( { 61000, 77 } ) == "Renamed" );
    EXPECT_EQ( Made( XClassRegistry::CreateObject( kBase ) ), "default" );
    EXPECT_ERROR( 1003, XClassRegistry::RegisterDescription( 61999, "x" ) );
}

TEST_F( XClassRegistryTest, MakesObjectsWhileClassesComeAndGo )
{
    std::atomic<bool> isDone = false;
    const auto write = [&]
    {
        for ( unsigned i = 0; i < 2000; ++i )
        {
            const XVersion version( 61020 + i % 4, 0 );
            XClassRegistry::RegisterClassA( version, kBase, Create, Create, CreateDefault, "Passing" );
            XClassRegistry::UnregisterClassA( version );
        }
        isDone = true;
    };
    const auto make = [&]
    {
        while ( !isDone )
        {
            EXPECT_EQ( Made( XClassRegistry::CreateObject( kBase ) ), "default" );
            EXPECT_TRUE( XClassRegistry::IsA( kLeaf, kBase ) );
            const std::uint32_t error = ErrorOrZero( [] { delete XClassRegistry::CreateObject( 61020 ); } );
            EXPECT_TRUE( error == 0 || error == 1003 ) << error;
        }
    };
    RunTogether( write, make );
}

TEST_F( XClassRegistryTest, NumbersOfTheLibraryAreNotForOthers )
{
    XClassRegistry::RegisterCoreClasses();
    const auto take = []( std::uint32_t inNumber ) {
        XClassRegistry::RegisterClassA( { inNumber, 9 }, 0, Create, Create, CreateDefault, "mine" );
    };
    EXPECT_ERROR( 1006, take( kClassString ) );
    EXPECT_STREQ( XClassRegistry::GetClassDescription( kClassString ).GetConstCharPtr(), "String" );
    EXPECT_NO_THROW( XClassRegistry::RegisterCoreClasses() );
    take( kFirstApplicationClassNumber );
    EXPECT_NO_THROW( take( kFirstApplicationClassNumber ) );
    XClassRegistry::UnregisterClassA( kFirstApplicationClassNumber );
}
