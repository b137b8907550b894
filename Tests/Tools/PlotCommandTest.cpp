#include "ProgramRun.h"

#include "Pivot/ColumnTools.h"
#include "Plots/XPlotData.h"
#include "Tables/TableFile.h"

namespace
{

/// A table with areas, names and counts, and what is drawn of it.
struct PlotCommandTest : ProgramRun
{
    XPivotTable itsTable;
    XPivotFloatColumn& itsAreas;
    XPivotStringColumn& itsNames;

    PlotCommandTest()
        : itsAreas(
              itsTable.AddColumn( std::make_unique<XPivotFloatColumn>( kPivotArea, "", "", "\xB5m2" ) ) ),
          itsNames( itsTable.AddColumn( std::make_unique<XPivotStringColumn>( kPivotName, "", "", "" ) ) )
    {
    }

    void AddRow( double inArea, const XString& inName, bool inHasName = true )
    {
        itsAreas.AppendValue( inArea, true );
        itsNames.AppendValue( inName, inHasName );
    }

    std::string WriteTable()
    {
        WFile file( itsFolder / "table", WFile::kCreate );
        WriteTableFile( itsTable, file );
        return Name( "table" );
    }

    /// The groups as "name:count", with the rows left out at the end.
    std::string ListGroups( bool inIsLogarithmic = false )
    {
        const auto data =
            XReadPlotData( itsTable.GetNumRows(), { { itsAreas, inIsLogarithmic } }, &itsNames );
        std::string list;
        for ( const auto& group : data.groups )
            list += group.name + ":" + std::to_string( group.count ) + " ";
        for ( std::size_t i = 0; i < data.groups.size(); ++i )
            EXPECT_EQ(
                static_cast<std::uint64_t>( std::ranges::count( data.groupOfRow, i ) ),
                data.groups[i].count );
        return list + std::to_string( data.leftOut );
    }
};
} // namespace

TEST_F( PlotCommandTest, LeavesOutWhatIsNoPlaceOnAnAxis )
{
    for ( const auto area : { 1.0, -2.0, 0.0, kInfinity, -kInfinity, kNaN, 1e290 } )
        AddRow( area, "a" );
    AddRow( 3, "a" );
    itsAreas.SetDataExists( 7, false );
    EXPECT_EQ( ListGroups(), "a:3 5" );
    EXPECT_EQ( ListGroups( true ), "a:1 7" );
}

TEST_F( PlotCommandTest, ColoursTheLargestGroupsInTheirOrder )
{
    for ( const auto* name : { "img10", "img2", "", "img2" } )
        AddRow( 1, name );
    AddRow( 1, "x", false );
    EXPECT_EQ( ListGroups(), "(none):1 :1 img2:2 img10:1 0" );
    for ( const auto* name : { "a", "a", "b", "b", "c", "c", "d", "d", "e", "e" } )
        AddRow( 1, name );
    EXPECT_EQ( ListGroups(), "a:2 b:2 c:2 d:2 e:2 img2:2 img10:1 2 others:2 0" );
}

TEST_F( PlotCommandTest, OrdersGroupsByTheirNumbers )
{
    auto& numbers =
        itsTable.AddColumn( std::make_unique<XPivotUInt32Column>( kPivotPixelCount, "", "", "" ) );
    for ( const auto area : { 3.0, kNaN, 20.0, 1.0 } )
    {
        AddRow( area, "" );
        numbers.AppendValue( 1, true );
    }
    std::string names;
    for ( const auto& group :
          XReadPlotData( itsTable.GetNumRows(), { { numbers, false } }, &itsAreas ).groups )
        names += group.name + " ";
    EXPECT_EQ( names, "NaN 1 3 20 " );
}

TEST_F( PlotCommandTest, StaysOnItsSheet )
{
    for ( int i = 0; i < 9; ++i )
        AddRow( 126.9657 + 0.0001 * i, "a long name of a group " + std::to_string( i ) );
    ASSERT_EQ(
        RunLine( "plot % --scatter area,area --by name --width 40 --height 40 -o @p.svg", WriteTable() ), 0 );
    const auto svg = itsFolder.Read( "p.svg" );
    constexpr double kHeight = 40 * 72 / 25.4;
    const std::string y = " y=\"";
    for ( auto at = svg.find( y ); at != std::string::npos; at = svg.find( y, at + 1 ) )
        EXPECT_LT( std::stod( svg.substr( at + y.size() ) ), kHeight - 5 );
    EXPECT_LACKS( svg, "font-size=\"-" );
}

TEST_F( PlotCommandTest, WritesTheSameFileEveryTime )
{
    for ( int i = 0; i < 40; ++i )
        AddRow( i * 1.5, i % 3 == 0 ? "<one>" : "other" );
    AddRow( kNaN, "other" );
    const auto table = WriteTable();
    for ( const auto* file : { "plot.svg", "plot.PNG" } )
    {
        const std::vector<std::string> arguments{ "plot", table,     "--histogram", "area", "--by",
                                                  "Name", "--title", "A & B",       "-o",   Name( file ) };
        ASSERT_EQ( Run( arguments ), 0 ) << itsError.str();
        EXPECT_EQ(
            itsError.str(),
            "korvale: 1 of 41 rows left out: no finite number in \"Area (\xC2\xB5m\xC2\xB2)\"\n" );
        const auto bytes = itsFolder.Read( file );
        ASSERT_EQ( Run( arguments ), 0 );
        EXPECT_EQ( itsFolder.Read( file ), bytes );
    }
    const auto svg = itsFolder.Read( "plot.svg" );
    for ( const auto* text :
          { ">Area (\xC2\xB5m\xC2\xB2)<", ">Count<", ">A &amp; B<", ">&lt;one&gt; (14)<", ">n = 40<" } )
        EXPECT_CONTAINS( svg, text ) << text;
    EXPECT_CONTAINS( itsFolder.Read( "plot.PNG" ), "\x89PNG" );

    ASSERT_EQ( RunLine( "plot % --scatter area,#1 --log-x -o @scatter.svg", table ), 0 );
    const auto scatter = itsFolder.Read( "scatter.svg" );
    std::size_t discs = 0;
    for ( auto at = scatter.find( "<circle" ); at != std::string::npos;
          at = scatter.find( "<circle", at + 1 ) )
        ++discs;
    EXPECT_EQ( discs, 39u ); // Neither NaN nor 0.
}

TEST_F( PlotCommandTest, RefusesWrongUsage )
{
    AddRow( 1, "a" );
    const auto table = WriteTable();
    for ( const std::string& options :
          Split( "-o @p.png|--histogram area|--histogram area -o @p.gif|"
                 "--histogram area --scatter area,area -o @p.png|--histogram name -o @p.png|"
                 "--histogram volume -o @p.png|--scatter area -o @p.png|"
                 "--scatter area,area --bins 3 -o @p.png|--histogram area --by volume -o @p.png|"
                 "--histogram area --by area,name -o @p.png|--histogram area --where area~9 -o @p.png|"
                 "--histogram area --width 10 -o @p.png" ) )
    {
        EXPECT_EQ( RunLine( "plot % " + options, table ), 2 ) << options;
        EXPECT_NE( itsError.str(), "" );
    }
    EXPECT_EQ( itsFolder.CountEntries(), 1u );
}

TEST_F( PlotCommandTest, WritesNothingWhenThereIsNothingToDraw )
{
    AddRow( kNaN, "a" );
    AddRow( -1, "a" );
    const auto table = WriteTable();
    itsFolder.Write( "old.png", "older" );
    EXPECT_EQ( RunLine( "plot % --histogram area --log-x -o @old.png", table ), 1 );
    EXPECT_CONTAINS( itsError.str(), "nothing to draw" );
    EXPECT_EQ( RunLine( "plot % --histogram area --where area>9 -o @old.png", table ), 1 );
    EXPECT_EQ( itsError.str(), "korvale: " + table + ": no row passes the conditions\n" );
    EXPECT_EQ( itsFolder.Read( "old.png" ), "older" );
}
