#include "Pivot/Tables/Internal/XPivotTableKey.h"

#include "Ground/Internal/XHashMix.h"
#include "Pivot/Tables/Internal/XPivotTableOrder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

// A key column gives each value two words (its identity) that are equal for equal values: a number is its
// bits, with both zeros and all NaN unified; an identifier is itself; a text of up to 15 bytes is its bytes
// and length. Comparing identities is then comparing values, without branches on their type. Only long texts
// have hashed identities, marked by kLongText, and are compared in full where it matters (IsBlockInGroups).
//
// Rows are processed in blocks, so that the identities computed for the hashes are still in the cache when
// they are compared with those of the groups. A missing row has the identity zero and another factor in its
// hash; since that does not exclude equality with a present value, presence is compared, too.

namespace
{
// ---- Identities: two words that are equal where the values are one key

struct XIdentity
{
    std::uint64_t low = 0;
    std::uint64_t high = 0;

    auto operator<=>( const XIdentity& ) const = default;
};

XIdentity Identify( double inValue )
{
    constexpr std::uint64_t kAnyNaN = 0x7FF8000000000000;
    return { std::isnan( inValue ) ? kAnyNaN : std::bit_cast<std::uint64_t>( inValue + 0.0 ), 0 };
}
XIdentity Identify( std::int32_t inValue )
{
    return { static_cast<std::uint32_t>( inValue ), 0 };
}
XIdentity Identify( std::uint32_t inValue )
{
    return { inValue, 0 };
}
XIdentity Identify( const XVersion& inValue )
{
    return { std::uint32_t( inValue ), 0 };
}
XIdentity Identify( const XTime& inValue )
{
    return { static_cast<std::uint64_t>( inValue.GetMicroSeconds() ), 0 };
}
XIdentity Identify( const XUUID& inValue )
{
    return std::bit_cast<XIdentity>( inValue );
}

// ---- Texts: up to 15 bytes and their number are the identity. Longer ones are hashed, and to be compared.

constexpr std::uint64_t kMissingFactor = 0xD1B54A32D192ED03;
constexpr std::size_t kMostWholeBytes = 15;
constexpr std::uint64_t kLongText = 0xFF; // in place of the number

template<class TWord>
std::uint64_t LoadKeyWord( const char* inBytes )
{
    TWord word;
    std::memcpy( &word, inBytes, sizeof word );
    return word;
}

/// Up to 8 bytes, by words that overlap in the middle.
std::uint64_t LoadBytes( const char* inBytes, std::size_t inCount )
{
    if ( inCount == 8 )
        return LoadKeyWord<std::uint64_t>( inBytes );
    if ( inCount >= 4 )
        return LoadKeyWord<std::uint32_t>( inBytes ) |
            LoadKeyWord<std::uint32_t>( inBytes + inCount - 4 ) << 8 * ( inCount - 4 );
    std::uint64_t word = 0;
    for ( std::size_t i = 0; i < inCount; ++i )
        word |= LoadKeyWord<std::uint8_t>( inBytes + i ) << 8 * i;
    return word;
}

XIdentity IdentifyLong( const char* inBytes, std::size_t inCount )
{
    XIdentity identity = { inCount, kXHashFactor };
    for ( ; inCount > 8; inCount -= 8, inBytes += 8 )
    {
        identity.low = XMixProduct( identity.low ^ LoadKeyWord<std::uint64_t>( inBytes ), kXHashFactor );
        identity.high = XMixProduct( identity.high ^ LoadKeyWord<std::uint64_t>( inBytes ), kMissingFactor );
    }
    identity.low ^= LoadBytes( inBytes, inCount );
    identity.high |= kLongText << 56;
    return identity;
}

XIdentity Identify( const XString& inValue )
{
    const char* bytes = inValue.GetConstCharPtr();
    const std::size_t count = inValue.GetLength();
    if ( count > kMostWholeBytes )
        return IdentifyLong( bytes, count );
    const std::uint64_t number = std::uint64_t( count ) << 56;
    if ( count <= 8 )
        return { LoadBytes( bytes, count ), number };
    // The last eight bytes, shifted so that those already in the first word fall out.
    const std::uint64_t last = LoadKeyWord<std::uint64_t>( bytes + count - 8 ) >> 8 * ( 16 - count );
    return { LoadKeyWord<std::uint64_t>( bytes ), last | number };
}

// ---- Keys

/// By values of one type, all rows of which lie at one place.
template<class T>
class XKeyT : public XPivotTableKey
{
public:
    XKeyT( const XPivotColumn& inColumn, const T* inValues )
        : itsColumn( inColumn ), itsValues( inValues ), itsExists( inColumn.GetExistsVector() ),
          itsIsComplete( !itsExists.empty() && !std::memchr( itsExists.data(), 0, itsExists.size() ) )
    {
    }

    void LoadBlock( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes ) override
    {
        itsBlockFirst = inFirst;
        itsBlockCount = inCount;
        if constexpr ( kIsText )
            FetchTexts( inFirst, inCount );
        for ( std::uint32_t i = 0; i < inCount; ++i )
        {
            const bool isPresent = itsIsComplete || IsPresent( inFirst + i );
            itsBlock[i] = isPresent ? Identify( itsValues[inFirst + i] ) : XIdentity();
            ioHashes[i] = XMixProduct(
                ioHashes[i] ^ itsBlock[i].low,
                itsBlock[i].high ^ ( isPresent ? kXHashFactor : kMissingFactor ) );
        }
    }

    bool IsBlockInGroups( const std::uint32_t* inGroups, const XVector<std::uint32_t>& inFirstRows ) override
    {
        // Groups that are new since the last block have their first rows in this one.
        while ( itsFirstValues.size() < inFirstRows.size() )
            itsFirstValues.push_back( itsBlock[inFirstRows[itsFirstValues.size()] - itsBlockFirst] );
        bool areSame = true;
        // No early exit: the loops are short and can be vectorised, and a mismatch is rare.
        for ( std::uint32_t i = 0; i < itsBlockCount; ++i )
            areSame &= itsBlock[i] == itsFirstValues[inGroups[i]];
        for ( std::uint32_t i = 0; i < itsBlockCount && !itsIsComplete; ++i )
            areSame &= IsPresent( itsBlockFirst + i ) == IsPresent( inFirstRows[inGroups[i]] );
        if constexpr ( kIsText )
        {
            for ( std::uint32_t i = 0; i < itsBlockCount; ++i )
            {
                if ( itsBlock[i].high >> 56 == kLongText )
                    areSame = areSame && itsValues[itsBlockFirst + i] == itsValues[inFirstRows[inGroups[i]]];
            }
        }
        return areSame;
    }

    int Compare( std::uint32_t inLeft, std::uint32_t inRight ) const override
    {
        if ( !IsPresent( inLeft ) || !IsPresent( inRight ) )
            return int( IsPresent( inLeft ) ) - int( IsPresent( inRight ) );
        if constexpr ( kIsText )
            return itsValues[inLeft].GetStringView().compare( itsValues[inRight].GetStringView() );
        else
        {
            const auto order = Identify( itsValues[inLeft] ) <=> Identify( itsValues[inRight] );
            return int( order > 0 ) - int( order < 0 );
        }
    }

    void SortRows( XVector<std::uint32_t>& ioRows ) const override
    {
        // Missing rows are one key, whatever is stored in them.
        const auto firstPresent = std::stable_partition(
            ioRows.begin(), ioRows.end(), [&]( std::uint32_t inRow ) { return !IsPresent( inRow ); } );
        XVector<std::uint32_t> present( firstPresent, ioRows.end() );
        if ( kIsText || XIsOrderedByNumbers( itsColumn ) ) // may rank different values equal
        {
            const auto isLess = [&]( std::uint32_t inLeft, std::uint32_t inRight )
            { return Compare( inLeft, inRight ) < 0; };
            std::stable_sort( present.begin(), present.end(), isLess );
        }
        XSortPivotTableRows( itsColumn, kSortAscending, present );
        std::ranges::copy( present, firstPresent );
    }

private:
    static constexpr bool kIsText = std::is_same_v<T, XString>;

    /// Asks for the bytes of all texts at once, so that one need not wait for the other.
    void FetchTexts( std::uint32_t inFirst, std::uint32_t inCount ) const
    {
        for ( std::uint32_t i = 0; i < inCount && !itsExists.empty(); ++i )
            __builtin_prefetch( itsValues[inFirst + i].GetConstCharPtr() );
    }

    bool IsPresent( std::uint32_t inRow ) const { return !itsExists.empty() && itsExists[inRow] != 0; }

    const XPivotColumn& itsColumn;
    const T* itsValues;
    const XVector<std::uint8_t>& itsExists; // empty for a column without values of its own
    bool itsIsComplete;                     // no row is missing

    std::array<XIdentity, kMostRowsPerBlock> itsBlock;
    std::uint32_t itsBlockFirst = 0;
    std::uint32_t itsBlockCount = 0;
    XVector<XIdentity> itsFirstValues; // of each group
};

/// By the texts of a column of a class that is not known here.
class XTextKey : public XKeyT<XString>
{
public:
    XTextKey( const XPivotColumn& inColumn, XVector<XString>&& inTexts )
        : XKeyT<XString>( inColumn, inTexts.data() ), itsTexts( std::move( inTexts ) )
    {
    }

private:
    XVector<XString> itsTexts; // stay where they are when moved
};
} // namespace

XPivotTableKey::~XPivotTableKey() = default;

std::unique_ptr<XPivotTableKey> XPivotTableKey::Make( const XPivotColumn& inColumn )
{
    std::unique_ptr<XPivotTableKey> key;
    const auto make = [&]<class T>( const XPivotColumnT<T>& inTyped )
    { key = std::make_unique<XKeyT<T>>( inTyped, inTyped.GetDataVector().data() ); };
    if ( XUsePivotValues( inColumn, make ) )
        return key;
    // A column without values has no texts worth asking for.
    const bool hasValues = !inColumn.GetExistsVector().empty();
    return std::make_unique<XTextKey>(
        inColumn, hasValues ? inColumn.GetStringVector() : XVector<XString>() );
}
