#include "Pivot/XPivotTableKey.h"

#include "Pivot/XPivotTableOrder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

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
const XString& GetIdentity( const XString& inValue )
{
    return inValue;
}

std::uint64_t LoadWord( const void* inBytes, std::size_t inCount = sizeof( std::uint64_t ) )
{
    std::uint64_t word = 0;
    std::memcpy( &word, inBytes, inCount );
    return word;
}

template<class T>
bool AreSame( const T& inLeft, const T& inRight )
{
    return inLeft == inRight;
}

/// Short texts by words that overlap in the middle, without a call.
bool AreSame( const XString& inLeft, const XString& inRight )
{
    const char* left = inLeft.GetConstCharPtr();
    const char* right = inRight.GetConstCharPtr();
    if ( left == right )
        return true; // one storage
    const std::size_t length = inLeft.GetLength();
    if ( length != inRight.GetLength() )
        return false;
    if ( length < 8 || length > 16 )
        return std::memcmp( left, right, length ) == 0;
    return LoadWord( left ) == LoadWord( right ) &&
        LoadWord( left + length - 8 ) == LoadWord( right + length - 8 );
}

// ---- Hashes of identities

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
inline std::uint64_t Hash( const XString& inIdentity )
{
    const char* bytes = inIdentity.GetConstCharPtr();
    std::size_t left = inIdentity.GetLength();
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

/// The hashes of texts by where they are stored: rows often share the storage of their texts, and then the
/// texts themselves need not be looked at. Lets itself be asked no more once it has proved to be of no use.
class XTextHashes
{
public:
    bool AreOfUse() const { return itsHits >= itsMisses; }

    std::uint64_t Get( const XString& inText )
    {
        const char* place = inText.GetConstCharPtr();
        XEntry& entry =
            itsEntries[Mix( reinterpret_cast<std::uintptr_t>( place ), kPresentFactor ) % kEntries];
        if ( entry.place == place )
        {
            ++itsHits;
            return entry.hash;
        }
        ++itsMisses;
        entry = { place, Hash( inText ) };
        return entry.hash;
    }

private:
    static constexpr std::size_t kEntries = 8192;

    struct XEntry
    {
        const char* place = nullptr;
        std::uint64_t hash = 0;
    };

    XVector<XEntry> itsEntries = XVector<XEntry>( kEntries );
    std::uint64_t itsHits = kEntries; // the first misses prove nothing
    std::uint64_t itsMisses = 0;
};

int CompareIdentities( const XString& inLeft, const XString& inRight )
{
    return inLeft.GetStringView().compare( inRight.GetStringView() );
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

    void MixHashes( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes ) override
    {
        MixHashesOf( inFirst, inCount, ioHashes, []( const auto& inValue ) { return Hash( inValue ); } );
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
    template<class THash>
    void
    MixHashesOf( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes, THash inHash ) const
    {
        for ( std::uint32_t i = 0; i < inCount; ++i )
        {
            const std::uint32_t row = inFirst + i;
            ioHashes[i] = IsPresent( row ) ? Mix( ioHashes[i] ^ inHash( GetValue( row ) ), kPresentFactor )
                                           : Mix( ioHashes[i], kMissingFactor );
        }
    }

private:
    const XPivotColumn& itsColumn;

    decltype( auto ) GetValue( std::uint32_t inRow ) const
    {
        return static_cast<const TKey&>( *this ).GetIdentity( inRow );
    }
    bool IsPresent( std::uint32_t inRow ) const { return itsHasFlags && itsExists[inRow] != 0; }
    bool IsSame( std::uint32_t inLeft, std::uint32_t inRight ) const
    {
        if ( !IsPresent( inLeft ) || !IsPresent( inRight ) )
            return IsPresent( inLeft ) == IsPresent( inRight );
        return AreSame( GetValue( inLeft ), GetValue( inRight ) );
    }

    const std::uint8_t* itsExists;
    bool itsHasFlags; // a column without values of its own has none
};

/// By the values of a column.
template<class T>
class XValueKey : public XKeyT<XValueKey<T>>
{
public:
    static constexpr bool kIsText = std::is_same_v<T, XString>;
    static constexpr bool kHasEqualRanks = kIsText; // different texts may have one place in the natural order

    explicit XValueKey( const XPivotColumnT<T>& inColumn )
        : XKeyT<XValueKey<T>>( inColumn ), itsValues( inColumn.GetDataVector().data() )
    {
    }

    void MixHashes( std::uint32_t inFirst, std::uint32_t inCount, std::uint64_t* ioHashes ) override
    {
        if constexpr ( kIsText )
        {
            if ( itsTextHashes.AreOfUse() )
            {
                const auto get = [this]( const XString& inText ) { return itsTextHashes.Get( inText ); };
                return this->MixHashesOf( inFirst, inCount, ioHashes, get );
            }
        }
        XKeyT<XValueKey<T>>::MixHashes( inFirst, inCount, ioHashes );
    }

    decltype( auto ) GetIdentity( std::uint32_t inRow ) const { return ::GetIdentity( itsValues[inRow] ); }

private:
    struct XNothing
    {
    };

    const T* itsValues;
    [[no_unique_address]] std::conditional_t<kIsText, XTextHashes, XNothing> itsTextHashes;
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
    const XString& GetIdentity( std::uint32_t inRow ) const { return itsTexts[inRow]; }

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
