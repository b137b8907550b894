#include "Tables/Aggregates.h"

#include "Pivot/XPivotText.h"
#include "Support/InQuotes.h"
#include "Support/ListParser.h"
#include "Support/WrongUsage.h"

#include <algorithm>
#include <array>

// An XPivotTableAccumulator computes types of results, some of which have two values (minimum and maximum,
// variance and deviation), in the order of its type numbers. An aggregate is one of these values: a type and
// a place within it.

const char* const kAggregatesHelp =
    "Aggregates (NAME, separated by commas)\n"
    "  count         number of values\n"
    "  mean\n"
    "  sum, product  0 and 1 where all values are missing\n"
    "  min, max      the max of non-positive values is 2.2e-308\n"
    "  var, sd       population variance and standard deviation\n"
    "  se            standard error of the mean: sd / sqrt( count )\n"
    "  value         the value itself, in cells of one row\n"
    "  Missing values are ignored. NaN makes mean, sum and product missing and is\n"
    "  ignored by the others.\n";

namespace
{
using Accumulator = XPivotTableAccumulator;

struct NamedAggregate
{
    const char* name;
    Aggregate aggregate;
};

constexpr std::array kAggregates{
    NamedAggregate{ "count", { Accumulator::kAccumulateCount, 0 } },
    NamedAggregate{ "mean", { Accumulator::kAccumulateMean, 0 } },
    NamedAggregate{ "sum", { Accumulator::kAccumulateSum, 0 } },
    NamedAggregate{ "product", { Accumulator::kAccumulateProduct, 0 } },
    NamedAggregate{ "min", { Accumulator::kAccumulateMinMax, 0 } },
    NamedAggregate{ "max", { Accumulator::kAccumulateMinMax, 1 } },
    NamedAggregate{ "var", { Accumulator::kAccumulateVarSD, 0 } },
    NamedAggregate{ "sd", { Accumulator::kAccumulateVarSD, 1 } },
    NamedAggregate{ "se", { Accumulator::kAccumulateStandardError, 0 } },
    NamedAggregate{ "value", { Accumulator::kAccumulateNone, 0 } } };

Aggregate ParseAggregate( const std::string& inName )
{
    const auto name = XPivotText::FromUTF8( inName );
    XVector<XString> names;
    for ( const auto& [known, aggregate] : kAggregates )
    {
        // Its head in the result means the same.
        const auto head = Accumulator( aggregate.type ).GetColumnStrings()[aggregate.place];
        if ( name.CaselessEqual( known ) || name.CaselessEqual( head ) )
            return aggregate;
        names.push_back( known );
    }
    const auto nearest = name.FindClosestLevenshteinMatch( names, true );
    throw WrongUsage(
        "unknown aggregate " + InQuotes( inName ) + " (did you mean \"" +
        kAggregates[static_cast<std::size_t>( nearest )].name + "\"?)" );
}
} // namespace

bool Aggregate::IsArithmetic() const
{
    return type != Accumulator::kAccumulateCount && type != Accumulator::kAccumulateNone;
}

std::vector<Aggregate> ParseAggregates( const std::string& inList )
{
    std::vector<Aggregate> aggregates;
    for ( const auto& item : SplitList( inList ) )
    {
        const auto aggregate = ParseAggregate( Unquote( item ) );
        if ( std::ranges::find( aggregates, aggregate ) != aggregates.end() )
            throw WrongUsage( item + " is listed twice" );
        aggregates.push_back( aggregate );
    }
    return aggregates;
}

XPivotTableAccumulator MakeAccumulator( const std::vector<Aggregate>& inAggregates )
{
    Accumulator accumulator( inAggregates.front().type );
    for ( const auto& aggregate : inAggregates )
        accumulator.AddType( aggregate.type );
    return accumulator;
}

std::uint32_t FindPlace( const XPivotTableAccumulator& inAccumulator, const Aggregate& inAggregate )
{
    auto place = inAggregate.place;
    for ( const auto type : inAccumulator.GetTypes() )
        // The values of all types with smaller numbers come first, whatever the order of the list.
        if ( type < inAggregate.type )
            place += Accumulator( type ).GetNumValues();
    return place;
}
