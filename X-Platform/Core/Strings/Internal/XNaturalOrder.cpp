#include "Core/Strings/Internal/XNaturalOrder.h"

#include "Core/Strings/Internal/XNumberReader.h"
#include "System/WLocale.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

// Natural order: "image 9" before "image 10". Both texts are read in step; where both have a number at the
// same place, the numbers are compared by value (and equal ones by their spelling), otherwise single bytes
// are compared. White space before either is skipped.
//
// Most comparisons in a sort are of texts with a common beginning, which this is made fast for. The common
// part is found eight bytes at a time, and the comparison starts behind it, or rather at the start of a
// number that the difference may lie in (FindStart). If there both have whole numbers of the same length, the
// first different digit decides and no number is read (DifferInDigits); numbers of up to 15 digits are
// compared as integers (CompareDigits), all others as doubles. The fast ways only skip work: they give the
// results of the slow one.
//
// Texts are expected to end with a NUL behind the view, as those of XString do; a NUL inside ends the text.

namespace
{
constexpr int kMaxExactDigits = 15; // integers of so many digits are exact as doubles

enum XKind : std::uint8_t
{
    kOther, // of these one may be the decimal point
    kDigit,
    kExponentMark,
    kOtherLetter
};

constexpr auto kKinds = []
{
    std::array<XKind, 256> kinds{};
    for ( unsigned i = 0; i < 128; ++i )
    {
        const auto character = static_cast<char>( i );
        if ( XTextScan::IsDigit( character ) )
            kinds[i] = kDigit;
        else if ( XTextScan::IsLetter( character ) )
            kinds[i] = XTextScan::ToUpper( character ) == 'E' ? kExponentMark : kOtherLetter;
    }
    return kinds;
}();

XKind GetKind( char inCharacter )
{
    return kKinds[static_cast<unsigned char>( inCharacter )];
}

bool IsDigit( char inCharacter )
{
    return GetKind( inCharacter ) == kDigit;
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

/// A bit of each byte that is zero, and perhaps some of bytes above it.
std::uint64_t MarkZeroBytes( std::uint64_t inWord )
{
    return ( inWord - 0x0101010101010101u ) & ~inWord & 0x8080808080808080u;
}

/// How many bytes are the same in both texts before one differs or both end.
USize64 CountCommon( std::string_view inFirst, std::string_view inSecond )
{
    const USize64 end = std::min( inFirst.size(), inSecond.size() );
    USize64 i = 0;
    for ( ; i + 8 <= end; i += 8 )
    {
        const std::uint64_t word = LoadWord( inFirst.data() + i );
        // Stops at a difference and at a NUL of the first text.
        const std::uint64_t stops = ( word ^ LoadWord( inSecond.data() + i ) ) | MarkZeroBytes( word );
        if ( stops != 0 && std::endian::native == std::endian::little )
            return i + static_cast<USize64>( std::countr_zero( stops ) ) / 8;
        if ( stops != 0 )
            break;
    }
    while ( i < end && inFirst[i] == inSecond[i] && inFirst[i] != '\0' )
        ++i;
    return i;
}
} // namespace

char XNaturalOrder::GetPoint() const
{
    // The locale is asked at most once for a comparison, and only if a point may matter.
    if ( itsPoint == '\0' )
        itsPoint = WLocale::GetDecimalPoint();
    return itsPoint;
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

/// A sign or a decimal point begins a number only before a digit. Decided from three characters, so that a
/// long row of points or signs is not scanned to its end for each of them.
bool XNaturalOrder::BeginsNumber( const char* inText ) const
{
    if ( IsSign( *inText ) )
        ++inText;
    if ( IsPoint( *inText ) )
        ++inText;
    return IsDigit( *inText );
}

bool XNaturalOrder::ContinuesNumber( char inCharacter ) const
{
    const XKind kind = GetKind( inCharacter );
    return kind == kOther ? IsPoint( inCharacter ) : kind != kOtherLetter;
}

/// Whether the value of a number is that of the digits before this position. A point there does not change it
/// unless digits or an exponent follow, so most texts do not require the locale's decimal point.
bool XNaturalOrder::EndsDigits( const char* inText ) const
{
    const XKind kind = GetKind( *inText );
    if ( kind != kOther || *inText == '\0' )
        return kind == kOtherLetter || kind == kOther;
    return GetKind( inText[1] ) == kOtherLetter || !IsPoint( *inText );
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
    while ( start < inCommon && GetKind( inText[start] ) == kExponentMark )
        ++start;
    return start;
}

/// Whether both begin with whole numbers of equally many digits, which differ behind the common ones. Such numbers go by
/// the first digit that differs.
bool XNaturalOrder::DifferInDigits( const char* inFirst, const char* inSecond, USize64 inCommon ) const
{
    USize64 length = 0;
    while ( IsDigit( inFirst[length] ) && IsDigit( inSecond[length] ) )
        ++length;
    return length > inCommon && length <= kMaxExactDigits && EndsDigits( inFirst + length ) &&
        EndsDigits( inSecond + length );
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
        for ( ; IsDigit( *ioText ); ++ioText )
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
    const auto first = XNumberReader::ReadFloat( inFirst, GetPoint() );
    const auto second = XNumberReader::ReadFloat( inSecond, GetPoint() );
    if ( !first || !second )
        return kNoNumbers;
    if ( *first != *second )
        return *first < *second ? kLess : kGreater;
    const int order = inFirst.compare( inSecond );
    return order < 0 ? kLess : order > 0 ? kGreater : kEqual;
}
