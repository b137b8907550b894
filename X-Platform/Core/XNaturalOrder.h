#pragma once

#include "Core/XTypes.h"

#include <string_view>

/// The order of texts in which numbers go by their value and white space does not count; see
/// `XString::IsLessThanIgnoring`.
class XNaturalOrder
{
public:
    XNaturalOrder( char inLocalePoint, bool inIgnoreDecimalPoint, bool inIgnoreMinusSign );

    /// Both texts are followed by a NUL, which ends them; so does a NUL within.
    bool IsLess( std::string_view inFirst, std::string_view inSecond ) const;

private:
    enum XResult
    {
        kLess,
        kGreater,
        kEqual,
        kNoNumbers ///< At least one of the texts does not begin with a number.
    };

    char itsLocalePoint;
    bool itsHasPoint;
    bool itsHasSign;

    bool IsPoint( char inCharacter ) const { return itsHasPoint && inCharacter == itsLocalePoint; }
    bool IsSign( char inCharacter ) const { return itsHasSign && inCharacter == '-'; }
    bool BeginsNumber( const char* inText ) const;
    bool ContinuesNumber( char inCharacter ) const;
    std::string_view TakeRun( const char* inText ) const;
    USize64 FindStart( std::string_view inText, USize64 inCommon ) const;
    bool DifferInDigits( const char* inFirst, const char* inSecond, USize64 inCommon ) const;
    XResult CompareNumbers( const char*& ioFirst, const char*& ioSecond ) const;
    bool CompareDigits( const char*& ioFirst, const char*& ioSecond, XResult& outResult ) const;
    XResult CompareRuns( std::string_view inFirst, std::string_view inSecond ) const;
};
