#pragma once

#include "Ground/XTypes.h"

#include <string>
#include <string_view>

/// The text of a finite double, to the last digit what the C library's printf makes of it in the C locale.
class XFloatText
{
public:
    /// "%.*f". A negative number of decimals is taken as 0.
    static XFloatText Fixed( double inValue, std::int32_t inDecimals );

    /// "%g"
    static XFloatText General( double inValue );

    /// "%E"
    static XFloatText Scientific( double inValue );

    /// Removes zeros at the end, and then a decimal point, from a text that has one.
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
    std::string itsLongText; ///< Used in place of `itsText` where the text may not fit there.

    /// Writes `inNumber` with its last `inDecimals` digits after a decimal point.
    void WriteDecimal( bool inIsNegative, std::uint64_t inNumber, unsigned inDecimals );
    void WriteFixedByLibrary( double inValue, int inDecimals );
    char* FindDecimalPoint();
    void SetLength( std::size_t inLength );
};
