#include "Imaging/TestImages.h"
#include "Options/ImageNames.h"
#include "Tools/ProgramRun.h"

namespace
{
struct ImageNamesLinuxTest : ProgramRun
{
    void SetUp() override
    {
        for ( const auto* folder : { "plate1", "plate2" } )
            std::filesystem::create_directories( itsFolder / folder );
        for ( const auto* name : { "plate1/A01_drug.png", "plate2/B12_none.png", "plate2/other.png" } )
            itsFolder.Write( name, FromHex( kGrey8 ) );
    }
};
} // namespace

TEST_F( ImageNamesLinuxTest, GiveColumnsForTheGroupsOfAnExpression )
{
    const std::string expression = "(?<Plate>plate\\d)/(?:(?<Well>[A-H]\\d\\d)_(?P<Treatment>[a-z]+))?";
    EXPECT_EQ( RunLine( "measure @. -r --threshold 0 --csv @out.csv --group %", expression ), 0 );
    const auto csv = itsFolder.Read( "out.csv" );
    EXPECT_TRUE( csv.starts_with( "ID,Name,Plate,Well,Treatment,Timepoint," ) ) << csv;
    for ( const auto* row :
          { ",A01_drug.png,plate1,A01,drug,", ",B12_none.png,plate2,B12,none,", ",other.png,plate2,,," } )
        EXPECT_CONTAINS( csv, row );

    EXPECT_EQ(
        RunLine( "info @plate1 @plate2 --json --group %", "[(?<](?<Well>[A-H]..)_|^(?<Well2>.\\d+)_" ), 0 );
    EXPECT_CONTAINS( itsOut.str(), "\"groups\": { \"Well\": null, \"Well2\": \"A01\" }" );
    EXPECT_CONTAINS(
        itsError.str(), "--group does not match 1 of 3 images: their groups are missing, first those of" );
}

TEST_F( ImageNamesLinuxTest, RefuseExpressionsThatCannotMakeColumns )
{
    for ( const auto& [expression, text] : std::vector<std::pair<std::string, std::string>>{
              { "(?<a>x", "missing )" },
              { "x+", "it names no group" },
              { "(?<a>.)(?<a>.)", "duplicate" },
              { "(?<Well>.)(?<well>.)", "\"well\" is the name of another column" },
              { "(?<a>x{1000}{1000})", "bad repetition operator" },
              { "(?<timepoint>\\d)", "\"timepoint\" is the name of another column" },
              { "(?<Area>\\d)", "\"Area\" is the name of another column" },
              { "(?<a>never)", "matches the path of no image" } } )
    {
        EXPECT_EQ( RunLine( "measure @plate2 --group %", expression ), 2 ) << expression;
        EXPECT_CONTAINS( itsError.str(), text );
    }
    // Takes exponential time in engines that try one way after the other.
    itsFolder.Write( "plate2/" + std::string( 200, 'a' ) + ".png", FromHex( kGrey8 ) );
    EXPECT_EQ( RunLine( "info @plate2 --group %", "^(?<a>(a+)+)+$|(?<b>(a*)*!)|(?<c>other)" ), 0 );
}
