#include "ProgramRun.h"

#include "Core/Streams/XFileStream.h"
#include "Core/Streams/XMemStream.h"
#include "Tables/TableFile.h"
#include "TestTables.h"

namespace
{
/// The commands that work on stored tables.
struct TableCommandTest : ProgramRun
{
    std::string WriteTable( const std::string& inName, const XPivotTable& inTable ) const
    {
        WFile file( itsFolder / inName, WFile::kCreate );
        WriteTableFile( inTable, file );
        return Name( inName );
    }

    const std::string itsTable = WriteTable( "t", MakeTestTable() );

    /// The first fields of the lines behind the head of a stored table, as CSV.
    std::string ReadFirstFields( const std::string& inName )
    {
        EXPECT_EQ( RunLine( "show % --csv", Name( inName ) ), 0 ) << itsError.str();
        std::istringstream lines( itsOut.str() );
        std::string line, fields;
        for ( std::getline( lines, line ); std::getline( lines, line ); )
            fields += line.substr( 0, line.find( ',', line.find( ',' ) + 1 ) ) + " ";
        return fields;
    }
};
} // namespace

// The length of a column, which is known only behind it, comes to lie across the end of the stream's buffer at each of its
// bytes; it has more than one that is not 0.
TEST_F( TableCommandTest, TablesAreWrittenFrontToBackAsTheyAreInMemory )
{
    const auto add = []( XPivotTable& ioTable, std::size_t inNameLength )
    {
        const XString name( std::string( inNameLength, 'x' ) );
        ioTable.AddColumn( std::make_unique<XPivotUInt32Column>( kPivotUserDefined, name, "", "" ) );
    };
    const auto write = []( const XPivotTable& inTable )
    {
        XMemStream stream;
        stream.WriteStreamInfo();
        stream.WriteObject( inTable );
        return std::string( reinterpret_cast<const char*>( stream.GetData() ), stream.GetLength() );
    };
    XPivotTable small;
    add( small, 0 );
    for ( std::size_t left = 0; left <= 8; ++left )
    {
        XPivotTable table;
        add( table, XFileStream::kDefaultBufferSize - write( small ).size() - left );
        for ( int column = 0; column < 300; ++column )
            add( table, 0x0404 );
        WriteTable( "wide", table );
        EXPECT_TRUE( itsFolder.Read( "wide" ) == write( table ) ) << left;
    }
}

TEST_F( TableCommandTest, FilterKeepsRowsAndTheNumbersOfTheirParents )
{
    EXPECT_EQ( RunLine( "filter % --where % --where % -o @f", itsTable, "id > 1", "mean c1 < 4" ), 0 );
    EXPECT_EQ( itsOut.str() + itsError.str(), "" );
    EXPECT_EQ( ReadFirstFields( "f" ), "2,1 3,1 " );
    EXPECT_EQ( RunLine( "filter @f --where % --where % -o @g", "parent id = 1", "id = 3" ), 0 );
    EXPECT_EQ( ReadFirstFields( "g" ), "3,1 " );
    EXPECT_EQ(
        RunLine( "filter % --any --where % --where % --csv @c", itsTable, "id = 1", "mean c1 = 4" ), 0 );
    EXPECT_STARTS( itsFolder.Read( "c" ), "ID,Parent ID,Name,Timepoint,Area (\u00B5m\u00B2)," );
    EXPECT_CONTAINS( itsFolder.Read( "c" ), "\n1,,img10,0,12.5,1,4,-5,1,3,2026-03-05 00:00:00.000000," );
    EXPECT_CONTAINS( itsFolder.Read( "c" ), "\n4,,\"\u00B5 \"\"x\"\", y\",," );
}

TEST_F( TableCommandTest, SortPutsRowsInOrder )
{
    const std::vector<std::pair<std::string, std::string>> cases{
        { "name", "3,1 2,1 1, 4, " },         { "Name:DESC", "4, 1, 2,1 3,1 " },
        { "area", "2,1 3,1 1, 4, " },         { "#9:desc,mean c1", "3,1 4, 1, 2,1 " },
        { "\"A, B\":asc", "1, 2,1 4, 3,1 " }, { "parent id,id:desc", "4, 1, 3,1 2,1 " } };
    for ( const auto& [keys, rows] : cases )
    {
        EXPECT_EQ( RunLine( "sort % --by % -o @s", itsTable, keys ), 0 ) << itsError.str();
        EXPECT_EQ( ReadFirstFields( "s" ), rows ) << keys;
    }
    XPivotTable table;
    AddTestColumn<XPivotUInt32Column>(
        table, XPivotColumnDescriptor( kPivotUserDefined, "x:desc", "", "" ), { 2, 3 } );
    EXPECT_EQ( RunLine( "sort % --by \"x:desc\":desc", WriteTable( "x", table ) ), 0 );
    EXPECT_EQ( itsOut.str(), "x:desc\n     3\n     2\n" );
}

TEST_F( TableCommandTest, PivotGivesWhatIsAskedForInThatOrder )
{
    EXPECT_EQ(
        RunLine( "pivot % --rows #9 --values % --with sd,count,max --csv @p", itsTable, "mean c1,area" ), 0 );
    EXPECT_EQ(
        itsFolder.Read( "p" ),
        "twin,Mean: S.D. (C1),Mean: Count (C1),Mean: Max (C1),Area: S.D. (\u00B5m\u00B2),Area: Count,"
        "Area: Max (\u00B5m\u00B2)\n1,0.5,2,2,0,1,12.5\n2,0.5,2,4,0,2,100\n" );
    EXPECT_EQ(
        RunLine(
            "pivot % --pages #9 --rows name --columns % --values % --with % --where %", itsTable, "parent id",
            "mean c2", "Standard Error,VALUE", "id < 4" ),
        0 );
    EXPECT_EQ(
        itsOut.str(),
        "twin: 1\nName   N/A: Standard Error (C2)  N/A: Value (C2)  1: Standard Error (C2)  1: Value (C2)\n"
        "img2                                                                   0              3\n"
        "img10                         0                4\n"
        "\ntwin: 2\nName  N/A: Standard Error (C2)  N/A: Value (C2)  1: Standard Error (C2)  1: Value (C2)\n"
        "                                                                      0              2\n" );
    EXPECT_EQ( RunLine( "pivot % --pages #9 --values id --with count --csv @p", itsTable ), 0 );
    EXPECT_EQ( itsFolder.Read( "p" ), "Internal Page Column,twin,Count\n1,1,2\n2,2,2\n" );
}

TEST_F( TableCommandTest, PivotRefusesMoreColumnsThanAnyoneReads )
{
    XPivotTable table;
    auto& column =
        AddTestColumn<XPivotFloatColumn>( table, XPivotColumnDescriptor( kPivotArea, "", "", "" ), {} );
    for ( std::uint32_t i = 0; i < 20000; ++i )
        column.AppendValue( i, true );
    const auto many = WriteTable( "many", table );
    EXPECT_EQ( RunLine( "pivot % --columns area --values area --with mean", many ), 2 );
    EXPECT_CONTAINS( itsError.str(), "20000 groups; they would make more than 10000" );
    EXPECT_EQ(
        RunLine(
            "pivot % --rows area --columns area --where % --values area --with sum --csv @p", many,
            "area < 3" ),
        0 );
    EXPECT_EQ( itsFolder.Read( "p" ), "Area,0: Sum,1: Sum,2: Sum\n0,0,0,0\n1,0,1,0\n2,0,0,2\n" );
}

TEST_F( TableCommandTest, KeepContentsOfUnknownColumnsOrWarn )
{
    XPivotTable table;
    AddTestColumn<XPivotFloatColumn>( table, XPivotColumnDescriptor( kPivotArea, "", "", "" ), { 1, 2 } );
    AddTestColumn<XPivotUInt32Column>( table, XPivotColumnDescriptor( kPivotCount, "", "", "" ), { 3, 4 } );
    XMemStream stream;
    stream.SetByteOrder( kPlatformByteOrder == kIntelOrder ? kMotorolaOrder : kIntelOrder );
    stream.WriteStreamInfo();
    stream.WriteObject( table );
    std::string bytes( reinterpret_cast<const char*>( stream.GetData() ), stream.GetLength() );
    const std::string known( "\0\0\5\xAF", 4 ), unknown( "\0\0\x72\x34", 4 );
    for ( auto at = bytes.find( known ); at != std::string::npos; at = bytes.find( known ) )
        bytes.replace( at, known.size(), unknown );

    const auto foreign = PathToUTF8( itsFolder.Write( "foreign", bytes ) );
    EXPECT_EQ( RunLine( "sort % --by count -o @s", foreign ), 0 );
    EXPECT_EQ( itsError.str(), "" );
    EXPECT_EQ( itsFolder.Read( "s" ), bytes );
    for ( const std::vector<std::string>& arguments :
          { std::vector<std::string>{ "sort", foreign, "--by", "count:desc" },
            { "filter", foreign, "--where", "count=3" } } )
    {
        auto withTable = arguments;
        withTable.insert( withTable.end(), { "-o", Name( "out" ) } );
        EXPECT_EQ( Run( withTable ), 0 );
        EXPECT_EQ(
            itsError.str(),
            "korvale: column \"Area\" has no values in " + Name( "out" ) +
                ": its type is unknown to this version, so its rows cannot be separated\n" );
        EXPECT_EQ( Run( arguments ), 0 );
        EXPECT_EQ( itsError.str(), "" );
    }
}

TEST_F( TableCommandTest, WriteNoEmptyLinesInACSVOfOneColumn )
{
    XPivotTable table;
    AddTestColumn<XPivotFloatColumn>( table, XPivotColumnDescriptor( kPivotArea, "", "", "" ), { 1, {}, 3 } );
    EXPECT_EQ( RunLine( "show % --csv", WriteTable( "one", table ) ), 0 );
    EXPECT_EQ( itsOut.str(), "Area\n1\n\"\"\n3\n" );
    AddTestColumn<XPivotStringColumn>(
        table, XPivotColumnDescriptor( kPivotUserDefined, "", "", "" ), { "", {}, "x" } );
    table.RemoveColumn( 0 );
    EXPECT_EQ( RunLine( "show % --csv", WriteTable( "one", table ) ), 0 );
    EXPECT_EQ( itsOut.str(), "\"\"\n\"\"\n\"\"\nx\n" );
}

TEST_F( TableCommandTest, LeaveAValidTableWithoutRows )
{
    const auto expectEmpty = [&]( std::vector<std::string> inArguments, const std::string& inWhy )
    {
        inArguments.insert( inArguments.end(), { "-o", Name( "e" ), "--csv", Name( "e.csv" ) } );
        EXPECT_EQ( Run( inArguments ), 1 );
        EXPECT_EQ( itsError.str(), "korvale: " + inArguments[1] + ": " + inWhy + "\n" );
        EXPECT_EQ( ReadFirstFields( "e" ), "" );
        EXPECT_EQ( std::ranges::count( itsFolder.Read( "e.csv" ), '\n' ), 1 );
    };
    const std::string none = "no row passes the conditions", noRows = "the table has no rows";
    expectEmpty(
        { "pivot", itsTable, "--rows", "name", "--values", "id", "--with", "sum", "--where", "id>9" }, none );
    expectEmpty( { "filter", itsTable, "--where", "Area > 1000" }, none );
    const auto empty = Name( "empty" );
    std::filesystem::rename( itsFolder / "e", itsFolder / "empty" );
    expectEmpty( { "sort", empty, "--by", "area" }, noRows );
    expectEmpty( { "filter", empty, "--where", "Area > 1000" }, noRows );
    expectEmpty( { "pivot", empty, "--rows", "name", "--values", "id", "--with", "sum" }, noRows );
    EXPECT_EQ( RunLine( "export % --npz @e.npz", empty ), 1 );
    EXPECT_EQ( itsError.str(), "korvale: " + empty + ": " + noRows + "\n" );
    EXPECT_GT( itsFolder.Read( "e.npz" ).size(), 0u );

    EXPECT_EQ( RunLine( "sort % --by area", WriteTable( "bare", XPivotTable() ) ), 2 );
    EXPECT_EQ( RunLine( "export @bare --csv @bare.csv" ), 1 );
    EXPECT_EQ( itsFolder.Read( "bare.csv" ), "\n" );
}

TEST_F( TableCommandTest, RefuseWrongUsage )
{
    for ( const std::string& line :
          Split( "sort % -o @out|sort % --by '' -o @out|sort % --by area, -o @out|"
                 "sort % --by area:down -o @out|sort % --by mean -o @out|"
                 "sort % --by area -o @out --csv @out|sort % --by area --csv %|filter % -o @out|"
                 "filter % --where area -o @out|filter % --where area~1 -o @out|"
                 "pivot % --with mean -o @out|pivot % --values area -o @out|"
                 "pivot % --values area --with men -o @out|"
                 "pivot % --values area --with mean,Mean -o @out|"
                 "pivot % --values name --with count,mean -o @out|"
                 "pivot % --values \"x<5\" --with sum -o @out|"
                 "pivot % --rows nme --values area --with mean -o @out|export %|export % --npz ''|"
                 "export % --npz %|export % --npz @out --csv @out" ) )
    {
        EXPECT_EQ( RunLine( line, itsTable ), 2 ) << line << ' ' << itsError.str();
        EXPECT_CONTAINS( itsError.str(), "\n" );
        EXPECT_EQ( itsOut.str(), "" );
    }
    EXPECT_EQ( RunLine( "pivot % --rows nme --values area --with mean", itsTable ), 2 );
    EXPECT_EQ( itsError.str(), "korvale: pivot: unknown column \"nme\" (did you mean \"Name\"?)\n" );
    EXPECT_EQ( itsFolder.CountEntries(), 1u );
}

TEST_F( TableCommandTest, TellWhatIsWrongWithAFileThatIsNoTable )
{
    const auto expectFailure = [&]( const std::string& inBytes, const std::string& inText )
    {
        const auto file = PathToUTF8( itsFolder.Write( "wrong", inBytes ) );
        EXPECT_EQ( RunLine( "show %", file ), 1 );
        EXPECT_STARTS( itsError.str(), "korvale: " + file + ": " + inText );
    };
    expectFailure( "ID,Name,Area\n1,a,2\n", "a text file, not a table (expected " );
    expectFailure( std::string( "II*\0\x8\0\0\0\0\0\0\0\0\0", 14 ), "a TIFF image, not a table (expected " );
    expectFailure( "\x89PNG\r\n\x1A\n", "a PNG image, not a table (expected " );

    auto bytes = itsFolder.Read( "t" );
    const auto cut = bytes.size() / 2;
    expectFailure( bytes.substr( 0, cut ), "the table is damaged at offset " );
    // A run of the second column's values that begins beyond its rows.
    XPivotTable table;
    AddTestColumn<XPivotUInt32Column>( table, XPivotColumnDescriptor( kPivotCount, "", "", "" ), { 7, 8 } );
    WriteTable( "runs", table );
    bytes = itsFolder.Read( "runs" );
    auto old = bytes; // a stream of revision 0 with a column of an unknown class
    old[3] = 0;
    old.replace( 25, 2, "\x34\x12" );
    expectFailure( old, "the table is damaged at offset 25: " );
    bytes[bytes.size() - 4 - 8 - 4] = 9;
    expectFailure( bytes, "the table is damaged at offset " );
    EXPECT_CONTAINS( itsError.str(), "reaches beyond the 2 rows (1005)" );
}

TEST_F( TableCommandTest, TellOfDamagedFilesAndTouchNothing )
{
    itsFolder.Write( "out", "older" );
    const auto bytes = itsFolder.Read( "t" );
    for ( std::size_t length = 0; length < bytes.size(); length += 97 )
    {
        const auto cut = PathToUTF8( itsFolder.Write( "cut", bytes.substr( 0, length ) ) );
        EXPECT_EQ( RunLine( "sort % --by area -o @out", cut ), 1 ) << length;
        EXPECT_STARTS( itsError.str(), "korvale: " + cut + ": " );
        EXPECT_CONTAINS( itsError.str(), length < 5 ? "(" : "(1" );
    }
    EXPECT_EQ( RunLine( "export @no --npz @out" ), 1 );
    EXPECT_EQ( RunLine( "filter % --where % -o @out --csv @no/folder", itsTable, "id > 1" ), 1 );
    EXPECT_STARTS( itsError.str(), "korvale: filter: cannot write " + Name( "no/folder" ) + ": " );
    EXPECT_EQ( itsFolder.Read( "out" ), "older" );
    EXPECT_EQ( itsFolder.CountEntries(), 3u );
}
