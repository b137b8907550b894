#include "Core/XNaturalOrder.h"

#include "Core/XNumberReader.h"
#include "Core/XTextScan.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr int kMaxExactDigits = 15; // integers of so many digits are exact as doubles

bool IsExponentMark( char inCharacter )
{
    return inCharacter == 'e' || inCharacter == 'E';
}

const char* SkipSpace( const char* inText )
{
    while ( XTextScan::IsSpace( *inText ) )
        ++inText;
    return inText;
}

std::uint64_t LoadWord( const char* inText )
{
    std::uint64_t word;
    std::memcpy( &word, inText, sizeof word );
    return word;
}

bool HasZeroByte( std::uint64_t inWord )
{
    return ( ( inWord - 0x0101010101010101u ) & ~inWord & 0x8080808080808080u ) != 0;
}

/// How many bytes are the same in both texts before one differs or both end.
USize64 CountCommon( std::string_view inFirst, std::string_view inSecond )
{
    const USize64 end = std::min( inFirst.size(), inSecond.size() );
    USize64 i = 0;
    for ( ; i + 8 <= end; i += 8 )
    {
        const std::uint64_t word = LoadWord( inFirst.data() + i );
        if ( word != LoadWord( inSecond.data() + i ) || HasZeroByte( word ) )
            break;
    }
    while ( i < end && inFirst[i] == inSecond[i] && inFirst[i] != '\0' )
        ++i;
    return i;
}
} // namespace

XNaturalOrder::XNaturalOrder( char inLocalePoint, bool inIgnoreDecimalPoint, bool inIgnoreMinusSign )
    : itsLocalePoint( inLocalePoint ), itsHasPoint( !inIgnoreDecimalPoint ), itsHasSign( !inIgnoreMinusSign )
{
}

bool XNaturalOrder::IsLess( std::string_view inFirst, std::string_view inSecond ) const
{
    const USize64 common = CountCommon( inFirst, inSecond );
    const USize64 start = FindStart( inFirst, common );
    const char* first = inFirst.data() + start;
    const char* second = inSecond.data() + start;
    if ( DifferInDigits( first, second, common - start ) )
        return inFirst[common] < inSecond[common];
    for ( ;; )
    {
        first = SkipSpace( first );
        second = SkipSpace( second );
        const XResult result = CompareNumbers( first, second );
        if ( result == kEqual )
            continue;
        if ( result != kNoNumbers )
            return result == kLess;
        if ( *first != *second )
            return static_cast<unsigned char>( *first ) < static_cast<unsigned char>( *second );
        if ( *first == '\0' )
            return false;
        ++first;
        ++second;
    }
}

/// A sign or a decimal point begins a number only in front of a digit. Told from three characters, so that a long row of
/// points or signs is not read to its end for each of them.
bool XNaturalOrder::BeginsNumber( const char* inText ) const
{
    if ( IsSign( *inText ) )
        ++inText;
    if ( IsPoint( *inText ) )
        ++inText;
    return XTextScan::IsDigit( *inText );
}

bool XNaturalOrder::ContinuesNumber( char inCharacter ) const
{
    return XTextScan::IsDigit( inCharacter ) || IsPoint( inCharacter ) || IsExponentMark( inCharacter );
}

std::string_view XNaturalOrder::TakeRun( const char* inText ) const
{
    USize64 length = 1;
    while ( ContinuesNumber( inText[length] ) )
        ++length;
    return { inText, length };
}

/// Texts that begin alike are compared from where they differ, or rather from the start of the number there
/// may be: behind the last character that is in no number. Up to there both are taken apart in the same way.
USize64 XNaturalOrder::FindStart( std::string_view inText, USize64 inCommon ) const
{
    USize64 start = inCommon;
    while ( start > 0 && ( ContinuesNumber( inText[start - 1] ) || IsSign( inText[start - 1] ) ) )
        --start;
    while ( start < inCommon && IsExponentMark( inText[start] ) )
        ++start;
    return start;
}

/// Whether both begin with numbers of equally many digits and nothing else, which differ behind the common ones. Such
/// numbers go by the first digit that differs.
bool XNaturalOrder::DifferInDigits( const char* inFirst, const char* inSecond, USize64 inCommon ) const
{
    USize64 length = 0;
    while ( XTextScan::IsDigit( inFirst[length] ) && XTextScan::IsDigit( inSecond[length] ) )
        ++length;
    return length > inCommon && length <= kMaxExactDigits && !ContinuesNumber( inFirst[length] ) &&
        !ContinuesNumber( inSecond[length] );
}

/// Moves behind both numbers if they are equal, and nowhere otherwise.
XNaturalOrder::XResult XNaturalOrder::CompareNumbers( const char*& ioFirst, const char*& ioSecond ) const
{
    if ( !BeginsNumber( ioFirst ) || !BeginsNumber( ioSecond ) )
        return kNoNumbers;
    XResult result;
    if ( CompareDigits( ioFirst, ioSecond, result ) )
        return result;
    const std::string_view first = TakeRun( ioFirst );
    const std::string_view second = TakeRun( ioSecond );
    result = CompareRuns( first, second );
    if ( result == kEqual )
    {
        ioFirst += first.size();
        ioSecond += second.size();
    }
    return result;
}

/// The everyday case, in which both numbers are short rows of digits and nothing else. False for any other.
bool XNaturalOrder::CompareDigits( const char*& ioFirst, const char*& ioSecond, XResult& outResult ) const
{
    const auto take = [this]( const char*& ioText, std::uint64_t& outNumber )
    {
        const char* const begin = ioText;
        outNumber = 0;
        for ( ; XTextScan::IsDigit( *ioText ); ++ioText )
            outNumber = outNumber * 10 + static_cast<std::uint64_t>( *ioText - '0' );
        return ioText > begin && ioText - begin <= kMaxExactDigits && !ContinuesNumber( *ioText );
    };
    const char* first = ioFirst;
    const char* second = ioSecond;
    std::uint64_t firstNumber;
    std::uint64_t secondNumber;
    if ( !take( first, firstNumber ) || !take( second, secondNumber ) )
        return false;
    if ( firstNumber != secondNumber )
        outResult = firstNumber < secondNumber ? kLess : kGreater;
    else
    {
        const std::string_view firstText( ioFirst, static_cast<USize64>( first - ioFirst ) );
        const std::string_view secondText( ioSecond, static_cast<USize64>( second - ioSecond ) );
        const int order = firstText.compare( secondText );
        outResult = order < 0 ? kLess : order > 0 ? kGreater : kEqual;
        ioFirst = first;
        ioSecond = second;
    }
    return true;
}

XNaturalOrder::XResult XNaturalOrder::CompareRuns( std::string_view inFirst, std::string_view inSecond ) const
{
    const auto first = XNumberReader::ReadFloat( inFirst, itsLocalePoint );
    const auto second = XNumberReader::ReadFloat( inSecond, itsLocalePoint );
    if ( !first || !second )
        return kNoNumbers;
    if ( *first != *second )
        return *first < *second ? kLess : kGreater;
    const int order = inFirst.compare( inSecond );
    return order < 0 ? kLess : order > 0 ? kGreater : kEqual;
}
