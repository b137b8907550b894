#include "Tables/StructurePrinter.h"

#include "Core/Streams/XMemStream.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotStringColumn.h"
#include "Pivot/Columns/XPivotTimeColumn.h"
#include "Pivot/Columns/XPivotUnknownColumn.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/Tables/XPivotTable.h"
#include "Testing.h"

#include <sstream>

namespace
{
/// Two rows of one object, one of another, and a reference from elsewhere; parents.
void AddReferences( XPivotTable& ioTable )
{
    const XUUID one( "f81d4fae-7dec-11d0-a765-00a0c91e6bf6" ),
        other( "00000000-0000-8000-8000-00000000000A" );
    auto ids = std::make_unique<XPivotRowRefColumn>( kPivotID, "", "", "" );
    auto parents = std::make_unique<XPivotOtherRowRefColumn>( kPivotParentID, "", "", "" );
    parents->SetRowRefColumnDescriptor( ids->GetDescriptor() );
    ids->AppendValue( one, true );
    ids->AppendValue( other, true );
    ids->AppendValue( XUUID(), false );
    ids->AppendValue( one, true );
    ids->AddRef( XUUID( "00000000-0000-8000-8000-00000000000B" ) );
    parents->ResizeRows( 4 );
    parents->SetValue( one, 1, true );
    ioTable.AddColumn( std::move( ids ) );
    ioTable.AddColumn( std::move( parents ) );
}

std::string MakeFile( XByteOrder inOrder )
{
    XPivotTable table;
    auto& numbers = table.AddColumn( std::make_unique<XPivotFloatColumn>( kPivotArea, "", "C1", "\xB5m2" ) );
    for ( const auto exists : { true, true, false, true } )
        numbers.AppendValue( 1.5, exists );
    auto texts = std::make_unique<XPivotStringColumn>( kPivotUserDefined, "Note", "", "" );
    auto times = std::make_unique<XPivotTimeColumn>( kPivotAbsoluteTime, "", "", "" );
    auto unknown = std::make_unique<XPivotUnknownColumn>( kPivotSort, "", "", "" );
    for ( auto* column : std::initializer_list<XPivotColumn*>{ texts.get(), times.get(), unknown.get() } )
        column->ResizeRows( 4 );
    texts->SetData( XString( "abc" ), 1, true );
    table.AddColumn( std::move( texts ) );
    table.AddColumn( std::move( times ) );
    table.AddColumn( std::move( unknown ) );
    AddReferences( table );

    XMemStream stream;
    stream.SetByteOrder( inOrder );
    stream.WriteStreamInfo();
    stream.WriteObject( table );
    return std::string( reinterpret_cast<const char*>( stream.GetData() ), stream.GetLength() );
}

struct Printed
{
    std::string damage;
    std::string text;
};

Printed Print( const std::string& inFile )
{
    XMemStream stream( inFile.data(), inFile.size() );
    std::ostringstream out;
    auto damage = StructurePrinter( stream, out ).Print();
    return { damage, out.str() };
}

/// True when the library's own reader takes the file.
bool IsReadable( const std::string& inFile )
{
    bool isTable = false;
    const auto read = [&]
    {
        XMemStream stream( inFile.data(), inFile.size() );
        stream.ReadStreamInfo();
        const std::unique_ptr<XStorable> object( stream.ReadObject() );
        isTable = dynamic_cast<XPivotTable*>( object.get() ) && stream.IsAtEOF();
    };
    return ErrorOrZero( read ) == 0 && isTable;
}

} // namespace

TEST( StructurePrinterTest, TellsEveryObjectAndField )
{
    for ( const auto order : { kIntelOrder, kMotorolaOrder } )
    {
        const auto file = MakeFile( order );
        const auto [damage, text] = Print( file );
        EXPECT_EQ( damage, "" );
        const std::string size = std::to_string( file.size() );
        for ( const std::string& part : std::initializer_list<std::string>{
                  order == kIntelOrder ? "Byte order I" : "Byte order M",
                  std::to_string( file.size() - 5 ) + "  Object of class 2001, revision 0",
                  "ID: 207 \"Area\"", "Units: \"\u00B5m2\"", "Exists flags: 3 of 4 rows",
                  "Default value: nan", "Run: 2 rows from row 0 on", "Run: 1 rows from row 3 on",
                  "ID: 1 (user-defined)", "Rows without values: 4",
                  "Reference to f81d4fae-7dec-11d0-a765-00a0c91e6bf6: user-visible ID 1, references 2, row 3",
                  "b: user-visible ID 3, references 1, no row", size + "              End of the file" } )
            EXPECT_CONTAINS( text, part );
    }
}

TEST( StructurePrinterTest, PrintsColumnsOfUnknownClassesAsPartsOfTheFile )
{
    constexpr std::uint32_t kUnknown = XVersion( 40000, 3 ), kTime = XPivotTimeColumn::GetClassVersion();
    auto file = MakeFile( kIntelOrder );
    const std::string_view known( reinterpret_cast<const char*>( &kTime ), sizeof kTime );
    const auto envelope = file.find( known ), fields = file.find( known, envelope + 1 );
    file.replace( envelope, sizeof kUnknown, reinterpret_cast<const char*>( &kUnknown ), sizeof kUnknown );
    const auto [damage, text] = Print( file );
    EXPECT_EQ( damage, "" );
    EXPECT_CONTAINS( text, "Object of class 40000, revision 3: not known" );
    EXPECT_CONTAINS( text, std::to_string( fields ) );
    EXPECT_CONTAINS( text, "Fields of a class that is not known" );

    file[fields - 8] = 100; // which counts the exists flags
    EXPECT_EQ(
        Print( file ).damage,
        "at offset " + std::to_string( fields - 4 ) + ": the column is longer than it claims" );
}

TEST( StructurePrinterTest, FindsEveryTruncation )
{
    const auto file = MakeFile( kIntelOrder );
    for ( std::size_t size = 0; size < file.size(); ++size )
    {
        const auto damage = Print( file.substr( 0, size ) ).damage;
        ASSERT_TRUE( damage.starts_with( "at offset " ) ) << size;
        EXPECT_LE( std::stoul( damage.substr( 10 ) ), size );
    }
    EXPECT_EQ(
        Print( file + "x" ).damage,
        "at offset " + std::to_string( file.size() ) +
            ": the table ends here, but the file has 1 bytes more" );
}

TEST( StructurePrinterTest, AgreesWithTheReaderOnEveryFlippedBit )
{
    constexpr std::size_t kStep = kIsSanitized ? 7 : 1; // of each byte one bit at least
    const auto file = MakeFile( kIntelOrder );
    for ( std::size_t bit = 0; bit < file.size() * 8; bit += kStep )
    {
        auto damaged = file;
        damaged[bit / 8] = static_cast<char>( damaged[bit / 8] ^ 1 << bit % 8 );
        EXPECT_EQ( Print( damaged ).damage.empty(), IsReadable( damaged ) )
            << "bit " << bit % 8 << " of byte " << bit / 8 << ": " << Print( damaged ).damage;
    }
}
