#include "Drawing/XAxisTicks.h"

#include "Core/Strings/XUTF8Text.h"
#include "Pivot/XPivotText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

// Ticks are multiples of 1, 2 or 5 times a power of ten. Steps and numbers are kept as mantissa and decimal
// exponent (Decimal), so a label is exact: 3 steps of 0.1 are "0.3", which 3 * 0.1 in binary is not. Long
// labels are written in units of a power of a thousand, which the axis shows once.

namespace
{
const std::string kMinus = "\xE2\x88\x92";
const std::string kTimes = "\xC3\x97";

/// Fewer ticks do not make a scale.
constexpr std::size_t kFewest = 2;

/// Floating-point division leaves multiples a little beside whole numbers.
constexpr double kTolerance = 1e-9;

/// The number `mantissa` times ten to the power of `exponent`.
struct Decimal
{
    std::int64_t mantissa;
    int exponent;

    /// As near as can be, which multiplying by a negative power is not.
    double Get() const
    {
        const auto power = std::pow( 10, std::abs( exponent ) );
        const auto number = static_cast<double>( mantissa );
        return exponent < 0 ? number / power : number * power;
    }
};

std::string WithMinus( std::string inDigits )
{
    if ( inDigits.starts_with( '-' ) )
        inDigits.replace( 0, 1, kMinus );
    return inDigits;
}

std::string FormatFixed( double inNumber, int inDecimals )
{
    char digits[512];
    const auto end =
        std::to_chars( digits, std::end( digits ), inNumber, std::chars_format::fixed, inDecimals ).ptr;
    return WithMinus( std::string( digits, end ) );
}

int GetDecade( double inNumber )
{
    return static_cast<int>( std::floor( std::log10( inNumber ) + kTolerance ) );
}

/// The multiples of a step in a range.
std::vector<Decimal> ListMultiples( const XAxisRange& inRange, const Decimal& inStep )
{
    const auto first = std::ceil( inRange.low / inStep.Get() - kTolerance );
    const auto last = std::floor( inRange.high / inStep.Get() + kTolerance );
    std::vector<Decimal> multiples;
    for ( auto i = static_cast<std::int64_t>( first ); i <= static_cast<std::int64_t>( last ); ++i )
        multiples.push_back( { i * inStep.mantissa, inStep.exponent } );
    return multiples;
}

Decimal ChooseStep( const XAxisRange& inRange, std::uint32_t inMost )
{
    const auto least = ( inRange.high - inRange.low ) / ( inMost + 1 );
    auto exponent = GetDecade( least );
    if ( inRange.isWhole )
        exponent = std::max( exponent, 0 );
    Decimal step{ 1, exponent };
    for ( ;; ++exponent )
        for ( const auto mantissa : { 1, 2, 5 } )
        {
            const Decimal coarser{ mantissa, exponent };
            const auto count = ListMultiples( inRange, coarser ).size();
            // One step further there would be no scale any more: the last one is taken, even if it has too
            // many ticks.
            if ( count < kFewest )
                return step;
            step = coarser;
            if ( count <= inMost )
                return step;
        }
}

/// The labels of multiples of one step, in units of a power of ten.
std::vector<std::string> FormatAll( const std::vector<Decimal>& inNumbers, int inPower )
{
    std::vector<std::string> labels;
    for ( const auto& number : inNumbers )
        labels.push_back( FormatFixed(
            Decimal{ number.mantissa, number.exponent - inPower }.Get(),
            std::max( inPower - number.exponent, 0 ) ) );
    return labels;
}

std::size_t GetLongest( const std::vector<std::string>& inLabels )
{
    std::size_t longest = 0;
    for ( const auto& label : inLabels )
        longest = std::max( longest, XCountCharacters( label ) );
    return longest;
}

/// A power of ten, one of the thousands, that brings numbers near 1.
int ChoosePower( const std::vector<Decimal>& inNumbers )
{
    double greatest = 0;
    for ( const auto& number : inNumbers )
        greatest = std::max( greatest, std::abs( number.Get() ) );
    return greatest > 0 ? static_cast<int>( std::floor( GetDecade( greatest ) / 3.0 ) ) * 3 : 0;
}

XAxisTicks MakeLinearTicks( const XAxisRange& inRange, std::uint32_t inMost )
{
    constexpr std::size_t kLongestPlain = 6;
    XAxisTicks result;
    const auto numbers = ListMultiples( inRange, ChooseStep( inRange, inMost ) );
    auto labels = FormatAll( numbers, 0 );
    if ( GetLongest( labels ) > kLongestPlain )
    {
        const auto power = ChoosePower( numbers );
        if ( auto shorter = FormatAll( numbers, power ); GetLongest( shorter ) < GetLongest( labels ) )
        {
            labels = std::move( shorter );
            result.exponent = power;
        }
    }
    for ( std::size_t i = 0; i < numbers.size(); ++i )
        result.ticks.push_back( { numbers[i].Get(), { labels[i], "" } } );
    return result;
}

/// The numbers of a range that are one of some multiples of every so-many-th power of ten.
std::vector<Decimal>
ListDecades( const XAxisRange& inRange, const std::vector<std::int64_t>& inMantissas, int inEvery )
{
    std::vector<Decimal> numbers;
    const auto last = GetDecade( inRange.high );
    for ( auto decade = GetDecade( inRange.low ); decade <= last; ++decade )
        for ( const auto mantissa : inMantissas )
        {
            const Decimal number{ mantissa, decade };
            const auto isInside = number.Get() >= inRange.low * ( 1 - kTolerance ) &&
                number.Get() <= inRange.high * ( 1 + kTolerance );
            if ( isInside && decade % inEvery == 0 && ( decade >= 0 || !inRange.isWhole ) )
                numbers.push_back( number );
        }
    return numbers;
}

XPowerText FormatPower( const Decimal& inNumber )
{
    const auto digits = std::to_string( inNumber.mantissa );
    return {
        inNumber.mantissa == 1 ? "10" : digits + kTimes + "10",
        WithMinus( std::to_string( inNumber.exponent ) ) };
}

XAxisTicks LabelDecades( const std::vector<Decimal>& inNumbers )
{
    constexpr int kMostZeros = 4;
    const auto arePlain = std::ranges::all_of(
        inNumbers, []( const Decimal& inEach ) { return std::abs( inEach.exponent ) <= kMostZeros; } );
    XAxisTicks result;
    for ( const auto& number : inNumbers )
    {
        const XPowerText plain{ FormatFixed( number.Get(), std::max( -number.exponent, 0 ) ), "" };
        result.ticks.push_back( { number.Get(), arePlain ? plain : FormatPower( number ) } );
    }
    return result;
}

void AddMinorTicks( const XAxisRange& inRange, XAxisTicks& ioTicks )
{
    for ( const auto& number : ListDecades( inRange, { 2, 3, 4, 5, 6, 7, 8, 9 }, 1 ) )
        ioTicks.minorTicks.push_back( number.Get() );
}

/// Every so-many-th power of ten, few enough but two at least; none where there are fewer.
std::vector<Decimal> ChooseDecades( const XAxisRange& inRange, std::uint32_t inMost, bool& outAreAll )
{
    outAreAll = true;
    std::vector<Decimal> chosen;
    for ( int ten = 1;; ten *= 10 )
        for ( const auto every : { ten, 2 * ten, 5 * ten } )
        {
            auto numbers = ListDecades( inRange, { 1 }, every );
            if ( numbers.size() < kFewest )
                return chosen;
            chosen = std::move( numbers );
            outAreAll = every == 1;
            if ( chosen.size() <= inMost )
                return chosen;
        }
}

XAxisTicks MakeLogarithmicTicks( const XAxisRange& inRange, std::uint32_t inMost )
{
    const auto fine = ListDecades( inRange, { 1, 2, 5 }, 1 );
    if ( fine.size() > kFewest && fine.size() <= inMost )
        return LabelDecades( fine );
    bool areAll = true;
    const auto numbers = ChooseDecades( inRange, inMost, areAll );
    auto ticks = numbers.empty() ? MakeLinearTicks( inRange, inMost ) : LabelDecades( numbers );
    if ( areAll )
        AddMinorTicks( inRange, ticks );
    return ticks;
}
} // namespace

double XAxisRange::GetShare( double inNumber ) const
{
    if ( !isLogarithmic )
        return ( inNumber - low ) / ( high - low );
    return ( std::log( inNumber ) - std::log( low ) ) / ( std::log( high ) - std::log( low ) );
}

XAxisRange XMakeAxisRange( double inLeast, double inGreatest, bool inIsLogarithmic )
{
    constexpr double kMargin = 0.04; // Of the range.
    constexpr double kNarrowest = 1e-9, kNarrowestLogarithmic = 1e-6, kTiniest = 1e-280;
    if ( inIsLogarithmic )
    {
        const auto length = std::log( inGreatest ) - std::log( inLeast );
        const auto margin = length < kNarrowestLogarithmic ? 1.05 : std::exp( length * kMargin );
        return { inLeast / margin, inGreatest * margin, true, false };
    }
    const auto farthest = std::max( std::abs( inLeast ), std::abs( inGreatest ) );
    if ( const auto narrowest = std::max( farthest * kNarrowest, kTiniest );
         inGreatest - inLeast < narrowest )
    {
        const auto half = farthest > kTiniest ? farthest / 20 : 0.5;
        return { inLeast - half, inGreatest + half, false, false };
    }
    const auto margin = ( inGreatest - inLeast ) * kMargin;
    return { inLeast - margin, inGreatest + margin, false, false };
}

XAxisTicks XMakeTicks( const XAxisRange& inRange, std::uint32_t inMost )
{
    return inRange.isLogarithmic ? MakeLogarithmicTicks( inRange, inMost )
                                 : MakeLinearTicks( inRange, inMost );
}
