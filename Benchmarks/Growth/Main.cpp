// Runs operations at four sizes, each four times the one before, and fits the exponent with which their time grows: 1 for
// a linear one, 2 for a quadratic one. Ends with 1 when an exponent is above the limit.
//
// Usage: growth [TEXT]      only operations whose name contains the text

#include "Growth/Operation.h"
#include "Startup/WInitCore.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace
{

constexpr int kSizes = 4;
constexpr std::size_t kFactor = 4;
constexpr double kMaxExponent = 1.2;

/// A size that takes longer is the last one.
constexpr Seconds kLongest( 10 );

/// Short runs are repeated; the best counts, as what disturbs a run only lengthens it.
constexpr int kRepetitions = 3;
constexpr Seconds kWorthRepeating( 1 );

struct Measurement
{
    std::size_t itsSize;
    Seconds itsTime;
};

Seconds TimeBest( const Operation& inOperation, std::size_t inSize )
{
    Seconds best = inOperation.itsRun( inSize );
    for ( int i = 1; i < kRepetitions && best < kWorthRepeating; ++i )
        best = std::min( best, inOperation.itsRun( inSize ) );
    return best;
}

std::vector<Measurement> Measure( const Operation& inOperation )
{
    std::vector<Measurement> measurements;
    std::size_t size = inOperation.itsSmallest;
    for ( int i = 0; i < kSizes; ++i, size *= kFactor )
    {
        measurements.push_back( { size, TimeBest( inOperation, size ) } );
        if ( measurements.back().itsTime > kLongest )
            break;
    }
    return measurements;
}

/// The slope of the line of least squares through the logarithms.
double FitExponent( const std::vector<Measurement>& inMeasurements )
{
    double sumX = 0;
    double sumY = 0;
    double sumXX = 0;
    double sumXY = 0;
    for ( const Measurement& measurement : inMeasurements )
    {
        const double x = std::log( static_cast<double>( measurement.itsSize ) );
        const double y = std::log( measurement.itsTime.count() );
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
    }
    const auto count = static_cast<double>( inMeasurements.size() );
    return ( count * sumXY - sumX * sumY ) / ( count * sumXX - sumX * sumX );
}

/// Prints a line and returns whether the exponent is within the limit.
bool Report( const Operation& inOperation )
{
    const auto measurements = Measure( inOperation );
    std::printf( "%-44s", inOperation.itsName.c_str() );
    for ( const Measurement& measurement : measurements )
        std::printf( " %8zu: %9.3f ms", measurement.itsSize, 1000 * measurement.itsTime.count() );
    if ( measurements.size() < 2 )
    {
        std::printf( "   too slow\n" );
        return false;
    }
    const double exponent = FitExponent( measurements );
    const bool isWithinLimit = exponent <= kMaxExponent;
    std::printf( "   exponent %.2f%s\n", exponent, isWithinLimit ? "" : "  ABOVE THE LIMIT" );
    std::fflush( stdout );
    return isWithinLimit;
}

} // namespace

int main( int inCount, char** inArguments )
{
    const WInitCore core;
    const std::string_view wanted = inCount > 1 ? inArguments[1] : "";
    Operations operations;
    AddStringOperations( operations );
    AddStreamOperations( operations );
    AddMessagingOperations( operations );
    AddJobOperations( operations );
    AddNetJobOperations( operations );
    AddMemoryOperations( operations );
    AddTableOperations( operations );
    bool areWithinLimit = true;
    for ( const Operation& operation : operations )
        if ( operation.itsName.find( wanted ) != std::string::npos )
            areWithinLimit &= Report( operation );
    return areWithinLimit ? 0 : 1;
}
