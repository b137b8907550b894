#include "Tables/Reductions.h"

#include "Support/AnsiText.h"
#include "Support/QuotedText.h"
#include "Support/WrongUsage.h"

#include <algorithm>
#include <array>

const char* const kReductionsHelp =
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
    Reduction reduction;
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

Reduction ParseReduction( const std::string& inName )
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

bool Reduction::IsArithmetic() const
{
    return type != Accumulator::kAccumulateCount && type != Accumulator::kAccumulateNone;
}

std::vector<Reduction> ParseReductions( const std::string& inList )
{
    std::vector<Reduction> reductions;
    for ( const auto& item : SplitList( inList ) )
    {
        const auto reduction = ParseReduction( Unquote( item ) );
        if ( std::ranges::find( reductions, reduction ) != reductions.end() )
            throw WrongUsage( item + " is there twice" );
        reductions.push_back( reduction );
    }
    return reductions;
}

XPivotTableAccumulator MakeAccumulator( const std::vector<Reduction>& inReductions )
{
    Accumulator accumulator( inReductions.front().type );
    for ( const auto& reduction : inReductions )
        accumulator.AddType( reduction.type );
    return accumulator;
}

std::uint32_t FindPlace( const XPivotTableAccumulator& inAccumulator, const Reduction& inReduction )
{
    auto place = inReduction.place;
    for ( const auto type : inAccumulator.GetTypes() )
        if ( type < inReduction.type )
            place += Accumulator( type ).GetNumValues();
    return place;
}
