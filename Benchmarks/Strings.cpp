// Strings beside Qt's byte array, std::string and the C library.

#include "Core/Strings/XString.h"
#include "Pivot/Columns/XPivotStringColumn.h"

#include <QByteArray>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <strings.h>

namespace
{
constexpr std::size_t kTextLength = 200;
constexpr int kAppends = 1000;
constexpr std::size_t kSearchedLength = 64 * 1024;

const std::string kText( kTextLength, 'x' );
const char* const kPiece = "twenty characters ..";

template<class Text>
Text MakeText()
{
    return Text( kText.c_str() );
}

// Copying

template<class Text>
void Copy( benchmark::State& ioState )
{
    const Text text = MakeText<Text>();
    for ( auto _ : ioState )
    {
        Text copy( text );
        benchmark::DoNotOptimize( copy );
    }
}
BENCHMARK( Copy<XString> );
BENCHMARK( Copy<QByteArray> );
BENCHMARK( Copy<std::string> );

char* GetWritable( XString& ioText )
{
    return ioText.GetCharPtr();
}
char* GetWritable( QByteArray& ioText )
{
    return ioText.data();
}
char* GetWritable( std::string& ioText )
{
    return ioText.data();
}

template<class Text>
void CopyAndChange( benchmark::State& ioState )
{
    const Text text = MakeText<Text>();
    for ( auto _ : ioState )
    {
        Text copy( text );
        GetWritable( copy )[5] = 'y';
        benchmark::DoNotOptimize( copy );
    }
}
BENCHMARK( CopyAndChange<XString> );
BENCHMARK( CopyAndChange<QByteArray> );
BENCHMARK( CopyAndChange<std::string> );

template<class Text>
void Append( benchmark::State& ioState )
{
    const Text piece( kPiece );
    for ( auto _ : ioState )
    {
        Text text;
        for ( int i = 0; i < kAppends; ++i )
            text += piece;
        benchmark::DoNotOptimize( text );
    }
    ioState.SetItemsProcessed( ioState.iterations() * kAppends );
}
BENCHMARK( Append<XString> );
BENCHMARK( Append<QByteArray> );
BENCHMARK( Append<std::string> );

// Searching: lower-case letters and blanks, the needle at the very end

std::string MakeSearchedText()
{
    std::mt19937 random( 1 );
    std::string text( kSearchedLength, ' ' );
    for ( char& character : text )
        character = "abcdefghijklmnopqrstuvwxyz "[random() % 27];
    return text.replace( kSearchedLength - 8, 8, "needleXz" );
}

void Find( benchmark::State& ioState, const char* inNeedle, bool inCaseSensitive )
{
    const XString text( MakeSearchedText() );
    const XString needle( inNeedle );
    if ( text.Find( needle, inCaseSensitive ) != static_cast<SSize64>( kSearchedLength - 8 ) )
        ioState.SkipWithError( "not found" );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( text.Find( needle, inCaseSensitive ) );
}
BENCHMARK_CAPTURE( Find, XString, "needleXz", true );
BENCHMARK_CAPTURE( Find, XStringCaseless, "NEEDLExZ", false );

void FindMemmem( benchmark::State& ioState )
{
    const std::string text = MakeSearchedText();
    const std::string needle = "needleXz";
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( memmem( text.data(), text.size(), needle.data(), needle.size() ) );
}
BENCHMARK( FindMemmem );

void FindStdString( benchmark::State& ioState )
{
    const std::string text = MakeSearchedText();
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( text.find( "needleXz" ) );
}
BENCHMARK( FindStdString );

// Comparing without case: texts that differ in the case of every other letter

std::string MakeMixedCase( bool inUpperFirst )
{
    std::string text( kTextLength, 'a' );
    for ( std::size_t i = 0; i < text.size(); ++i )
        text[i] = static_cast<char>( ( ( i % 2 == 0 ) == inUpperFirst ? 'A' : 'a' ) + i % 26 );
    return text;
}

void CaselessEqualXString( benchmark::State& ioState )
{
    const XString first( MakeMixedCase( true ) );
    const XString second( MakeMixedCase( false ) );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( first.CaselessEqual( second ) );
}
BENCHMARK( CaselessEqualXString );

void CaselessEqualStrcasecmp( benchmark::State& ioState )
{
    const std::string first = MakeMixedCase( true );
    const std::string second = MakeMixedCase( false );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( strcasecmp( first.c_str(), second.c_str() ) == 0 );
}
BENCHMARK( CaselessEqualStrcasecmp );

// Natural order of file names of 26 bytes

std::vector<std::string> MakeNames( std::size_t inCount )
{
    std::mt19937 random( 2 );
    std::vector<std::string> names;
    char name[64];
    for ( std::size_t i = 0; i < inCount; ++i )
    {
        std::snprintf(
            name, sizeof name, "plate%02u_well%02u_f%04u_c%u.tif", unsigned( random() % 20 ),
            unsigned( random() % 96 ), unsigned( random() % 10000 ), unsigned( random() % 4 ) );
        names.emplace_back( name );
    }
    return names;
}

template<class Text, class Less>
void Compare( benchmark::State& ioState, const Less& inLess )
{
    const auto names = MakeNames( 1024 );
    const std::vector<Text> texts( names.begin(), names.end() );
    std::size_t i = 0;
    for ( auto _ : ioState )
    {
        benchmark::DoNotOptimize( inLess( texts[i % 1024], texts[( i + 1 ) % 1024] ) );
        ++i;
    }
}

template<class Text, class Less>
void Sort( benchmark::State& ioState, const Less& inLess )
{
    const auto names = MakeNames( 10000 );
    const std::vector<Text> texts( names.begin(), names.end() );
    for ( auto _ : ioState )
    {
        auto sorted = texts;
        std::stable_sort( sorted.begin(), sorted.end(), inLess );
        benchmark::DoNotOptimize( sorted.data() );
    }
}

const auto kNaturalLess = []( const XString& inFirst, const XString& inSecond )
{ return inFirst < inSecond; };
const auto kVersionLess = []( const std::string& inFirst, const std::string& inSecond )
{ return strverscmp( inFirst.c_str(), inSecond.c_str() ) < 0; };

void CompareXString( benchmark::State& ioState )
{
    Compare<XString>( ioState, kNaturalLess );
}
void CompareStrverscmp( benchmark::State& ioState )
{
    Compare<std::string>( ioState, kVersionLess );
}
void SortXString( benchmark::State& ioState )
{
    Sort<XString>( ioState, kNaturalLess );
}
void SortStrverscmp( benchmark::State& ioState )
{
    Sort<std::string>( ioState, kVersionLess );
}
void SortColumn( benchmark::State& ioState )
{
    XPivotStringColumn column( kPivotUserDefined, "names", "", "" );
    for ( const auto& name : MakeNames( 10000 ) )
        column.AppendValue( name, true );
    XVector<std::uint32_t> order;
    for ( auto _ : ioState )
    {
        auto sorted = column;
        sorted.Sort( kSortAscending, order );
        benchmark::DoNotOptimize( order.data() );
    }
}
BENCHMARK( SortColumn )->Unit( benchmark::kMillisecond );
BENCHMARK( CompareXString );
BENCHMARK( CompareStrverscmp );
BENCHMARK( SortXString )->Unit( benchmark::kMillisecond );
BENCHMARK( SortStrverscmp )->Unit( benchmark::kMillisecond );

// Numbers: measured values with three to six digits after the point, of both signs

std::vector<double> MakeNumbers()
{
    std::mt19937 random( 3 );
    std::uniform_real_distribution<double> values( -1000, 5000 );
    std::vector<double> numbers( 1024 );
    for ( double& number : numbers )
        number = values( random );
    return numbers;
}

void FormatDoubleXString( benchmark::State& ioState )
{
    const auto numbers = MakeNumbers();
    std::size_t i = 0;
    for ( auto _ : ioState )
    {
        XString text( numbers[i++ % 1024] );
        benchmark::DoNotOptimize( text );
    }
}
BENCHMARK( FormatDoubleXString );

void FormatDoubleSnprintf( benchmark::State& ioState )
{
    const auto numbers = MakeNumbers();
    char text[400];
    std::size_t i = 0;
    for ( auto _ : ioState )
    {
        const double number = numbers[i++ % 1024];
        std::snprintf( text, sizeof text, number < 0 ? "%g" : "%f", number );
        benchmark::DoNotOptimize( text );
    }
}
BENCHMARK( FormatDoubleSnprintf );

std::vector<XString> MakeNumberTexts()
{
    const auto numbers = MakeNumbers();
    return { numbers.begin(), numbers.end() };
}

void ReadDoubleXString( benchmark::State& ioState )
{
    const auto texts = MakeNumberTexts();
    std::size_t i = 0;
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( texts[i++ % 1024].GetSFloat64() );
}
BENCHMARK( ReadDoubleXString );

void ReadDoubleStrtod( benchmark::State& ioState )
{
    const auto texts = MakeNumberTexts();
    std::size_t i = 0;
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( std::strtod( texts[i++ % 1024].GetConstCharPtr(), nullptr ) );
}
BENCHMARK( ReadDoubleStrtod );

std::vector<int> MakeIntegers()
{
    std::mt19937 random( 4 );
    std::vector<int> integers( 1024 );
    for ( int& integer : integers )
        integer = static_cast<int>( random() ) >> ( random() % 31 );
    return integers;
}

void FormatIntegerXString( benchmark::State& ioState )
{
    const auto integers = MakeIntegers();
    std::size_t i = 0;
    for ( auto _ : ioState )
    {
        XString text( integers[i++ % 1024] );
        benchmark::DoNotOptimize( text );
    }
}
BENCHMARK( FormatIntegerXString );

void FormatIntegerSnprintf( benchmark::State& ioState )
{
    const auto integers = MakeIntegers();
    char text[40];
    std::size_t i = 0;
    for ( auto _ : ioState )
    {
        std::snprintf( text, sizeof text, "%d", integers[i++ % 1024] );
        benchmark::DoNotOptimize( text );
    }
}
BENCHMARK( FormatIntegerSnprintf );
} // namespace

BENCHMARK_MAIN();
