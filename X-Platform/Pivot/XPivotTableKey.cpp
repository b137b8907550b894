#include "Pivot/XPivotTableKey.h"

#include "Pivot/XPivotTableOrder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <string_view>

namespace
{
constexpr std::uint64_t kPresentFactor = 0x9E3779B97F4A7C15; // odd, with bits all over
constexpr std::uint64_t kMissingFactor = 0xD1B54A32D192ED03;

/// Both halves of the product of two words: every bit of either reaches all bits.
std::uint64_t Mix( std::uint64_t inLeft, std::uint64_t inRight )
{
    const auto product = static_cast<unsigned __int128>( inLeft ) * inRight;
    return static_cast<std::uint64_t>( product ) ^ static_cast<std::uint64_t>( product >> 64 );
}

// ---- What tells values apart: equal where the values are one key

std::uint64_t GetIdentity( double inValue )
{
    constexpr std::uint64_t kAnyNaN = 0x7FF8000000000000;
    return std::isnan( inValue ) ? kAnyNaN : std::bit_cast<std::uint64_t>( inValue + 0.0 );
}
std::uint64_t GetIdentity( std::int32_t inValue )
{
    return static_cast<std::uint32_t>( inValue );
}
std::uint64_t GetIdentity( std::uint32_t inValue )
{
    return inValue;
}
std::uint64_t GetIdentity( const XVersion& inValue )
{
    return std::uint32_t( inValue );
}
std::uint64_t GetIdentity( const XTime& inValue )
{
    return static_cast<std::uint64_t>( inValue.GetMicroSeconds() );
}
const XUUID& GetIdentity( const XUUID& inValue )
{
    return inValue;
}
std::string_view GetIdentity( const XString& inValue )
{
    return inValue.GetStringView();
}

// ---- Hashes of identities

std::uint64_t LoadWord( const void* inBytes, std::size_t inCount = sizeof( std::uint64_t ) )
{
    std::uint64_t word = 0;
    std::memcpy( &word, inBytes, inCount );
    return word;
}

std::uint64_t Hash( std::uint64_t inIdentity )
{
    return inIdentity;
}

std::uint64_t Hash( const XUUID& inIdentity )
{
    const std::uint8_t* bytes = inIdentity.GetBytes();
    return Mix( LoadWord( bytes ) ^ kPresentFactor, LoadWord( bytes + 8 ) ^ kMissingFactor );
}

/// Up to 16 bytes by two words that overlap in the middle, longer ones word by word.
std::uint64_t Hash( std::string_view inIdentity )
{
    const char* bytes = inIdentity.data();
    std::size_t left = inIdentity.size();
    std::uint64_t hash = kPresentFactor ^ left;
    for ( ; left > 16; left -= 8, bytes += 8 )
        hash = Mix( hash ^ LoadWord( bytes ), kPresentFactor );
    if ( left >= 8 )
        return Mix( LoadWord( bytes ) ^ hash, LoadWord( bytes + left - 8 ) ^ kMissingFactor );
    if ( left >= 4 )
        return hash ^ ( LoadWord( bytes, 4 ) | LoadWord( bytes + left - 4, 4 ) << 32 );
    for ( std::size_t i = 0; i < left; ++i )
        hash ^= std::uint64_t( static_cast<unsigned char>( bytes[i] ) ) << ( 16 + 8 * i );
    return hash;
}

template<class T>
int CompareIdentities( const T& inLeft, const T& inRight )
{
    return inLeft < inRight ? -1 : inRight < inLeft ? 1 : 0;
}

// ---- Keys

/// What all keys share; `TKey` has GetIdentity( row ) for present rows.
template<class TKey>
class XKeyT : public XPivotTableKey
{
public:
    explicit XKeyT( const XPivotColumn& inColumn )
        : itsColumn( inColumn ), itsExists( inColumn.GetExistsVector().data() ),
          itsHasFlags( !inColumn.GetExistsVector().empty() )
    {
    }

    void MixHashes( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes ) const override
    {
        for ( std::uint32_t i = 0; i < inCount; ++i )
        {
            const std::uint32_t row = inFirst + i;
            ioHashes[i] = IsPresent( row ) ? Mix( ioHashes[i] ^ Hash( GetValue( row ) ), kPresentFactor )
                                           : Mix( ioHashes[i], kMissingFactor );
        }
    }

    bool AreInGroups(
        std::uint32_t inFirst, std::uint32_t inCount, const std::uint32_t* inGroups,
        const XVector<std::uint32_t>& inFirstRows ) const override
    {
        bool areEqual = true;
        for ( std::uint32_t i = 0; i < inCount; ++i )
            areEqual &= IsSame( inFirst + i, inFirstRows[inGroups[i]] );
        return areEqual;
    }

    int Compare( std::uint32_t inLeft, std::uint32_t inRight ) const override
    {
        if ( !IsPresent( inLeft ) || !IsPresent( inRight ) )
            return CompareIdentities( IsPresent( inLeft ), IsPresent( inRight ) );
        return CompareIdentities( GetValue( inLeft ), GetValue( inRight ) );
    }

    void SortRows( XVector<std::uint32_t>& ioRows ) const override
    {
        // Missing rows are one key, whatever is stored in them.
        const auto firstPresent = std::stable_partition(
            ioRows.begin(), ioRows.end(), [&]( std::uint32_t inRow ) { return !IsPresent( inRow ); } );
        XVector<std::uint32_t> present( firstPresent, ioRows.end() );
        if ( TKey::kHasEqualRanks || XIsOrderedByNumbers( itsColumn ) )
        {
            const auto isLess = [&]( std::uint32_t inLeft, std::uint32_t inRight )
            { return Compare( inLeft, inRight ) < 0; };
            std::stable_sort( present.begin(), present.end(), isLess );
        }
        XSortPivotTableRows( itsColumn, kSortAscending, present );
        std::ranges::copy( present, firstPresent );
    }

protected:
    const XPivotColumn& itsColumn;

private:
    decltype( auto ) GetValue( std::uint32_t inRow ) const
    {
        return static_cast<const TKey&>( *this ).GetIdentity( inRow );
    }
    bool IsPresent( std::uint32_t inRow ) const { return itsHasFlags && itsExists[inRow] != 0; }
    bool IsSame( std::uint32_t inLeft, std::uint32_t inRight ) const
    {
        if ( !IsPresent( inLeft ) || !IsPresent( inRight ) )
            return IsPresent( inLeft ) == IsPresent( inRight );
        return GetValue( inLeft ) == GetValue( inRight );
    }

    const std::uint8_t* itsExists;
    bool itsHasFlags; // a column without values of its own has none
};

/// By the values of a column.
template<class T>
class XValueKey : public XKeyT<XValueKey<T>>
{
public:
    // Different texts may have the same place in the natural order.
    static constexpr bool kHasEqualRanks = std::is_same_v<T, XString>;

    explicit XValueKey( const XPivotColumnT<T>& inColumn )
        : XKeyT<XValueKey<T>>( inColumn ), itsValues( inColumn.GetDataVector().data() )
    {
    }
    decltype( auto ) GetIdentity( std::uint32_t inRow ) const { return ::GetIdentity( itsValues[inRow] ); }

private:
    const T* itsValues;
};

/// By the texts of a column of a class that is not known here.
class XTextKey : public XKeyT<XTextKey>
{
public:
    static constexpr bool kHasEqualRanks = true;

    explicit XTextKey( const XPivotColumn& inColumn ) : XKeyT<XTextKey>( inColumn )
    {
        if ( !inColumn.GetExistsVector().empty() )
            itsTexts = inColumn.GetStringVector();
    }
    std::string_view GetIdentity( std::uint32_t inRow ) const { return itsTexts[inRow].GetStringView(); }

private:
    XVector<XString> itsTexts;
};
} // namespace

XPivotTableKey::~XPivotTableKey() = default;

std::unique_ptr<XPivotTableKey> XPivotTableKey::Make( const XPivotColumn& inColumn )
{
    std::unique_ptr<XPivotTableKey> key;
    const auto make = [&]<class T>( const XPivotColumnT<T>& inTyped )
    { key = std::make_unique<XValueKey<T>>( inTyped ); };
    if ( !XUsePivotValues( inColumn, make ) )
        key = std::make_unique<XTextKey>( inColumn );
    return key;
}
