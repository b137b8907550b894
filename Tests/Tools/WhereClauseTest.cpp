#include "Tables/WhereClause.h"

#include "Support/WrongUsage.h"
#include "TestTables.h"

namespace
{
using Rows = XVector<std::uint32_t>;

Rows Find( const std::string& inCondition )
{
    const auto table = MakeTestTable();
    return table.FindRows( WhereClause( inCondition ).MakeFilter( table ) );
}

std::string GetRefusal( const std::string& inCondition )
{
    return TextOfError( [&] { Find( inCondition ); } );
}
} // namespace

TEST( WhereClauseTest, FindsTheRowsItSays )
{
    const std::vector<std::pair<std::string, Rows>> cases{
        { "Area>12.5", { 3 } },
        { "area >= 12.5", { 0, 3 } },
        { "Area != 12.5", { 2, 3 } }, // NaN is a value, missing is none.
        { "Area < inf", { 0, 3 } },
        { "Area = nan", {} },
        { "name = img2", { 1 } },
        { "Name == \"img2\"", { 1 } },
        { "Name < img10", { 1 } },
        { "Name contains img", { 0, 1 } },
        { "Name contains \"\"\"x\"\", y\"", { 3 } },
        { "Name contains \u00B5", { 3 } },
        { "\"A, B\" <= 0", { 0, 1 } },
        { "A, B <= 0", { 0, 1 } },
        { "Parent ID = 1", { 1, 2 } },
        { "ID > 2.5", { 2, 3 } },
        { "abs. time >= 1970-01-01 00:00", { 0, 1 } },
        { "\"x<5\" = 00000000-0000-0000-0000-000000000007", { 2 } },
        { "\"x<5\" contains 0008", { 3 } } };
    for ( const auto& [condition, rows] : cases )
        EXPECT_EQ( Find( condition ), rows ) << condition;
}

TEST( WhereClauseTest, TakesReferencesThatWholeNumbersCannotBe )
{
    // Timepoint is 0, 2, 1 and missing; "A, B" is -5, 0, 5 and missing.
    const Rows all{ 0, 1, 2 }, none;
    const std::vector<std::pair<std::string, Rows>> cases{
        { "Timepoint < 1.5", { 0, 2 } }, { "Timepoint <= 1.5", { 0, 2 } }, { "Timepoint > 1.5", { 1 } },
        { "Timepoint >= 1.5", { 1 } },   { "Timepoint = 1.5", none },      { "Timepoint != 1.5", all },
        { "Timepoint > -1", all },       { "Timepoint = -1", none },       { "Timepoint != -0.5", all },
        { "Timepoint < -0.5", none },    { "Timepoint >= 1e99", none },    { "Timepoint < inf", all },
        { "\"A, B\" > -4.5", { 1, 2 } }, { "\"A, B\" <= -0.5", { 0 } },    { "\"A, B\" > -1e10", all },
        { "\"A, B\" < -1e10", none },    { "\"A, B\" != nan", all },       { "\"A, B\" = nan", none } };
    for ( const auto& [condition, rows] : cases )
        EXPECT_EQ( Find( condition ), rows ) << condition;
}

TEST( WhereClauseTest, RefusesWhatMakesNoSense )
{
    const std::vector<std::pair<std::string, std::string>> cases{
        { "", "invalid condition" },
        { "Area", "invalid condition" },
        { "Name containsx", "invalid condition" },
        { "> 5", "incomplete condition" },
        { "Area >", "incomplete condition" },
        { "\"Area > 5", "missing closing quote" },
        { "\"Area\" x > 5", "after the closing quote" },
        { "Aera > 5", "did you mean \"Area" },
        { "Area > x", "invalid value \"x\" for column \"Area (\u00B5m\u00B2)\" (expected a number)" },
        { "Area > 5 \u00B5m", "(expected a number)" },
        { "Area contains 5", "holds numbers: contains applies only to text" },
        { "Parent ID contains 5", "holds numbers" },
        { "abs. time > soon", "(expected a time, " },
        { "abs. time contains 19", "holds times: contains applies only to text" },
        { "\"x<5\" = 7", "(expected a UUID)" },
        { "a/b = 1", "holds no values" } };
    for ( const auto& [condition, text] : cases )
        EXPECT_CONTAINS( GetRefusal( condition ), text ) << GetRefusal( condition );
}
