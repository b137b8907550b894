#include "Tables/Aggregates.h"

#include "Support/ListParser.h"
#include "Support/TextEncoding.h"
#include "Support/WrongUsage.h"

#include <algorithm>
#include <array>

const char* const kAggregatesHelp =
    "NAME is one or more of these, with commas between them:\n"
    "  count         how many there are\n"
    "  mean\n"
    "  sum, product  0 and 1 where all values are missing\n"
    "  min, max      where no number is above 0, max is the smallest one that is, 2.2e-308\n"
    "  var, sd       variance, with the number of values as divisor, and its square root\n"
    "  se            standard error of the mean: sd / sqrt( number of values )\n"
    "  value         the value itself, where the cell has one row only\n"
    "Missing values do not count. NaN leave mean, sum and product missing; the others leave them out.\n";

namespace
{
using Accumulator = XPivotTableAccumulator;

struct NamedReduction
{
    const char* name;
    Aggregate reduction;
};

constexpr std::array kReductions{
    NamedReduction{ "count", { Accumulator::kAccumulateCount, 0 } },
    NamedReduction{ "mean", { Accumulator::kAccumulateMean, 0 } },
    NamedReduction{ "sum", { Accumulator::kAccumulateSum, 0 } },
    NamedReduction{ "product", { Accumulator::kAccumulateProduct, 0 } },
    NamedReduction{ "min", { Accumulator::kAccumulateMinMax, 0 } },
    NamedReduction{ "max", { Accumulator::kAccumulateMinMax, 1 } },
    NamedReduction{ "var", { Accumulator::kAccumulateVarSD, 0 } },
    NamedReduction{ "sd", { Accumulator::kAccumulateVarSD, 1 } },
    NamedReduction{ "se", { Accumulator::kAccumulateStandardError, 0 } },
    NamedReduction{ "value", { Accumulator::kAccumulateNone, 0 } } };

Aggregate ParseReduction( const std::string& inName )
{
    const auto name = FromUTF8( inName );
    XVector<XString> names;
    for ( const auto& [known, reduction] : kReductions )
    {
        // Its head in the result means the same.
        const auto head = Accumulator( reduction.type ).GetColumnStrings()[reduction.place];
        if ( name.CaselessEqual( known ) || name.CaselessEqual( head ) )
            return reduction;
        names.push_back( known );
    }
    const auto nearest = name.FindClosestLevenshteinMatch( names, true );
    throw WrongUsage(
        "values are not reduced to \"" + inName + "\"; the nearest is \"" +
        kReductions[static_cast<std::size_t>( nearest )].name + "\"" );
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
        const auto reduction = ParseReduction( Unquote( item ) );
        if ( std::ranges::find( aggregates, reduction ) != aggregates.end() )
            throw WrongUsage( item + " is there twice" );
        aggregates.push_back( reduction );
    }
    return aggregates;
}

XPivotTableAccumulator MakeAccumulator( const std::vector<Aggregate>& inAggregates )
{
    Accumulator accumulator( inAggregates.front().type );
    for ( const auto& reduction : inAggregates )
        accumulator.AddType( reduction.type );
    return accumulator;
}

std::uint32_t FindPlace( const XPivotTableAccumulator& inAccumulator, const Aggregate& inReduction )
{
    auto place = inReduction.place;
    for ( const auto type : inAccumulator.GetTypes() )
        if ( type < inReduction.type )
            place += Accumulator( type ).GetNumValues();
    return place;
}
