#pragma once

#include "Core/Strings/Internal/XTextScan.h"

#include <string_view>

/// The natural order of texts: numbers are compared by value and white space is ignored; see
/// `XString::IsLessThanIgnoring`.
class XNaturalOrder
{
public:
    XNaturalOrder( bool inIgnoreDecimalPoint, bool inIgnoreMinusSign )
        : itsHasPoint( !inIgnoreDecimalPoint ), itsHasSign( !inIgnoreMinusSign )
    {
    }

    /// Both texts must be followed by a NUL. A NUL within a text ends it.
    bool IsLess( std::string_view inFirst, std::string_view inSecond ) const;

private:
    enum XResult
    {
        kLess,
        kGreater,
        kEqual,
        kNoNumbers // at least one of the texts does not begin with a number
    };

    // The locale's decimal point; NUL until first needed, because reading it takes about as long as the rest
    // of a comparison.
    mutable char itsPoint = '\0';
    bool itsHasPoint;
    bool itsHasSign;

    [[gnu::noinline]] char GetPoint() const;
    bool IsPoint( char inCharacter ) const
    {
        return itsHasPoint && inCharacter != '\0' && inCharacter == GetPoint();
    }
    bool IsSign( char inCharacter ) const { return itsHasSign && inCharacter == '-'; }
    bool BeginsNumber( const char* inText ) const;
    bool ContinuesNumber( char inCharacter ) const;
    bool EndsDigits( const char* inText ) const;
    std::string_view TakeRun( const char* inText ) const;
    USize64 FindStart( std::string_view inText, USize64 inCommon ) const;
    bool DifferInDigits( const char* inFirst, const char* inSecond, USize64 inCommon ) const;
    XResult CompareNumbers( const char*& ioFirst, const char*& ioSecond ) const;
    bool CompareDigits( const char*& ioFirst, const char*& ioSecond, XResult& outResult ) const;
    XResult CompareRuns( std::string_view inFirst, std::string_view inSecond ) const;
};
