#pragma once

#include "Ground/XTypes.h"

#include <string>
#include <string_view>

/// The text of a finite double, identical to the output of the C library's printf in the C locale.
class XFloatText
{
public:
    /// "%.*f". A negative number of decimals is taken as 0.
    static XFloatText Fixed( double inValue, std::int32_t inDecimals );

    /// "%g"
    static XFloatText General( double inValue );

    /// "%E"
    static XFloatText Scientific( double inValue );

    /// Removes trailing zeros, and then a trailing decimal point, from a text that has a decimal point.
    void TrimZeros();
    void SetDecimalPoint( char inPoint );

    std::string_view GetText() const
    {
        return itsLongText.empty() ? std::string_view( itsText, itsLength ) : std::string_view( itsLongText );
    }

private:
    static constexpr std::size_t kMaxShortLength = 40;

    char itsText[kMaxShortLength];
    std::size_t itsLength = 0;
    std::string itsLongText; // used in place of `itsText` if the text might not fit there

    /// Writes `inNumber` with its last `inDecimals` digits after a decimal point.
    void WriteDecimal( bool inIsNegative, std::uint64_t inNumber, unsigned inDecimals );
    void WriteFixedByLibrary( double inValue, int inDecimals );
    char* FindDecimalPoint();
    void SetLength( std::size_t inLength );
};
