#pragma once

#include "Core/Storables/XStorable.h"
#include "Ground/XFail.h"

#include <algorithm>
#include <atomic>
#include <concepts>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>

/// An integer that a string shows as a number: every integer type but `bool` and the character types.
template<class T>
concept XStringInteger =
    std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

class XString;

/// A pointer to NUL-terminated text, or an array of characters.
template<class T>
concept XCharPointer = std::same_as < std::decay_t<T>,
char* > || std::same_as<std::decay_t<T>, const char*>;

/// What a string compares with without being converted.
template<class T>
concept XStringOperand = XCharPointer<T> || std::same_as<T, std::string> || std::derived_from<T, XString>;

/// Two of these that compare as strings: one of them, at least, is a string.
template<class T, class TOther>
concept XStringOperandBeside = XStringOperand<T> && XStringOperand<TOther> &&
    ( std::derived_from<T, XString> || std::derived_from<TOther, XString> );

/// The string of the library: 8-bit text in the ANSI code page, in shared storage that is copied on write.
///
/// Copying a string costs one atomic increment. Different strings may be used from different threads even
/// when they share storage; one string must not be written while another thread uses it. Memory that cannot
/// be had throws 1012.
///
/// Upper and lower case are those of ASCII in every caseless operation; all other bytes stand for themselves.
/// NULs within the text are kept by copying, `Resize` and streaming, but searches, hashes and conversions end
/// at the first one.
///
/// `operator<` is the natural order, in which "file2" comes before "file10". It ranks some different strings
/// as equal ("a b" and "ab"), so ordered containers go by `std::less<XString>`, which compares bytes.
class KORVALE_API XString : public XStorable
{
public:
    enum XIntStringFormat
    {
        kIntPlain = 1,     ///< Decimal.
        kIntZeroPadded = 2 ///< Decimal, filled with zeros up to `digits` characters, the sign included.
    };

    enum XFloatStringFormat
    {
        kFloatAuto = 1, ///< Up to six decimals without trailing zeros where that is readable, "%g" elsewhere.
        kFloatFixed = 2,        ///< `digits` decimals.
        kFloatFixedTrimmed = 3, ///< `digits` decimals, less trailing zeros and a trailing decimal point.
        kFloatScientific = 4    ///< "%E".
    };

    enum XStringStripOptions
    {
        kStripLeading = 1,
        kStripTrailing = 2,
        kStripBoth = 3
    };

    /// The result of searches that find nothing.
    static constexpr SSize64 kNotFound = -1;

    /// As a count: all that there is. As a position: the end.
    static constexpr USize64 kToEnd = ~USize64( 0 );

    static const XString kEmptyString;
    static const XString kDotString;     ///< "."
    static const XString kNewLineString; ///< "\n"

    // Construction

    XString() noexcept : itsStorage( &sEmptyStorage ) {}
    XString( const XString& inOther ) noexcept : itsStorage( inOther.itsStorage )
    {
        AddReference( itsStorage );
    }

    /// Leaves the other string empty.
    XString( XString&& inOther ) noexcept : itsStorage( inOther.itsStorage )
    {
        inOther.itsStorage = &sEmptyStorage;
    }
    ~XString() override { UnreferenceStorage(); }

    /// From NUL-terminated text; a null pointer is an internal error.
    XString( const char* str );

    /// From a length byte and as many characters; a null pointer is an internal error.
    XString( const unsigned char* str );

    /// From wide text, NUL-terminated, through the ANSI code page.
    XString( const wchar_t* str );
    XString( const std::wstring& inText );

    XString( const std::string& inText );
    XString( std::string_view inText );
    XString( char inCharacter );
    XString( bool ) = delete;

    /// From a number, as decimal text. `digits` counts only for formats other than `kIntPlain` and has to be
    /// greater than 0 then.
    template<XStringInteger T>
    XString( T inValue, XIntStringFormat inFormat = kIntPlain, std::int32_t digits = 0 )
        : itsStorage( FormatInteger( Widen( inValue ), inFormat, digits ) )
    {
    }

    /// From a number. Infinities are "INF" and "-INF", what is not a number is "NaN". The decimal point is
    /// the locale's. `digits` counts only for the fixed formats; a negative one is taken as 0.
    XString( double inValue, XFloatStringFormat inFormat = kFloatAuto, std::int32_t digits = 6 );

    /// Reads the stream form, as `ReadStream2` does.
    explicit XString( XStream& inStream );

    // Access

    /// Bytes before the terminating NUL.
    USize64 GetLength() const noexcept { return itsStorage->size - 1; }
    bool IsEmpty() const noexcept { return itsStorage->size == 1; }

    /// The text, NUL-terminated; valid until the string is changed or destroyed.
    const char* GetConstCharPtr() const noexcept { return itsStorage->data; }
    const unsigned char* GetConstUCharPtr() const noexcept
    {
        return reinterpret_cast<const unsigned char*>( itsStorage->data );
    }
    /// Tells storages apart: strings that share one have equal texts. Valid as `GetConstCharPtr` is.
    const void* GetStorageID() const noexcept { return itsStorage; }
    std::string_view GetStringView() const noexcept { return { itsStorage->data, GetLength() }; }
    operator const char*() const noexcept { return itsStorage->data; }

    /// The text for writing within its length. Makes the storage private first; the pointer is not to be
    /// written to after the string has been copied.
    char* GetCharPtr()
    {
        CopyStorageForWrite();
        return itsStorage->data;
    }
    unsigned char* GetUCharPtr() { return reinterpret_cast<unsigned char*>( GetCharPtr() ); }

    /// As `GetCharPtr`, chosen only where a `char*` is asked for, so that a call taking `const char*` copies
    /// nothing.
    template<class T>
    requires std::same_as<T, char>
    operator T*() { return GetCharPtr(); }

    /// The character at an index up to the length, where the terminating NUL is; an index beyond it is an
    /// internal error. The forms for writing make the storage private.
    char GetNthChar( USize64 index ) const
    {
        XAssert( index < itsStorage->size );
        return itsStorage->data[index];
    }
    char& GetNthChar( USize64 index )
    {
        XAssert( index < itsStorage->size );
        return GetCharPtr()[index];
    }
    template<std::integral T>
    char operator[]( T inIndex ) const
    {
        return GetNthChar( static_cast<USize64>( inIndex ) );
    }
    template<std::integral T>
    char& operator[]( T inIndex )
    {
        return GetNthChar( static_cast<USize64>( inIndex ) );
    }

    operator std::string() const { return std::string( GetStringView() ); }

    /// Converts between the ANSI code page and UTF-8. Characters that the code page lacks, and malformed UTF-8, become
    /// '?'. WLastErrorException if the system refuses.
    static XString FromUTF8( std::string_view inText );
    std::string ToUTF8() const;

    /// Wide text through the ANSI code page; WLastErrorException if the system refuses.
    operator std::wstring() const;

    /// Writes the length byte and the characters, at most 256 bytes in all; 1354 if the text is longer than
    /// 255.
    void GetStr255( unsigned char* outBuffer ) const;

    /// A hash of the bytes up to the first NUL, the same everywhere and for ever; 0 for the empty string.
    USize64 GetHash() const;

    /// Writes the text to the debugger's output.
    void DebugStr() const;

    // Assignment and building

    XString& operator=( const XString& inOther )
    {
        ReferenceStorage( inOther.itsStorage );
        return *this;
    }
    XString& operator=( XString&& inOther ) noexcept
    {
        std::swap( itsStorage, inOther.itsStorage );
        return *this;
    }

    /// Takes `inCount` bytes, whatever they are. A null pointer with a count other than 0 is an internal
    /// error.
    void CopyFromPtr( const char* ptr, USize64 inCount );

    /// Takes `inCount` wide characters through the ANSI code page; WLastErrorException if the system refuses.
    void CopyFromPtr( const wchar_t* ptr, USize64 inCount );

    /// Appends. Growth is amortised: appending n times costs of the order of the final length.
    XString& operator+=( const XString& inText )
    {
        return Append( inText.itsStorage->data, inText.GetLength() );
    }
    XString& operator+=( const char* str );
    XString& operator+=( const unsigned char* str );
    XString& operator+=( const std::string& inText ) { return Append( inText.data(), inText.size() ); }
    XString& operator+=( std::string_view inText ) { return Append( inText.data(), inText.size() ); }
    XString& operator+=( char inCharacter ) { return Append( &inCharacter, 1 ); }
    XString& operator+=( bool ) = delete;
    XString& operator+=( double inValue );

    /// Appends a number as plain decimal text.
    template<XStringInteger T>
    XString& operator+=( T inValue )
    {
        return AppendInteger( Widen( inValue ) );
    }

    /// The text with anything appended that `operator+=` takes, and with text before it.
    template<class T>
    friend XString operator+( XString inFirst, const T& inSecond )
    {
        inFirst += inSecond;
        return inFirst;
    }
    friend XString operator+( const char* inFirst, const XString& inSecond )
    {
        return XString( inFirst ) += inSecond;
    }
    friend XString operator+( char inFirst, const XString& inSecond )
    {
        return XString( inFirst ) += inSecond;
    }

    /// Cuts the text off, or extends it with NULs that count towards the length. `kToEnd` is a length like any
    /// other here: 1012.
    void Resize( USize64 inLength );

    /// Loads a text from the library's string table; 1279 if it is missing or empty.
    void LoadStringA( std::uint32_t inResourceID );

    /// The value in hexadecimal, with `digits` digits at least when `inPadWithZeros` is set.
    void SetHexString(
        std::uint64_t inValue, std::int32_t digits = 0, bool inPadWithZeros = false,
        bool inUpperCase = true );

    /// A size for people to read: "1023 bytes", "1.5 K", "1.0 MB", and so on to TB.
    static XString MakeBytesString( std::int64_t inBytes );

    // Editing

    XString& Upper();
    XString& Lower();

    /// Keeps `inCount` characters from `inStart`, as far as there are so many.
    XString& Truncate( USize64 inCount, USize64 inStart = 0 );
    XString& StripFirst( USize64 inCount );
    XString& StripLast( USize64 inCount );

    /// Removes the run of a character at the start, the end or both; NUL is an internal error.
    XString& Strip( XStringStripOptions inOptions = kStripBoth, char whichChar = ' ' );

    /// Makes every run of the character a single one.
    XString& StripRepeatedChars( char inCharacter );

    /// Replaces every line break, be it CR LF, CR or LF, by the one given.
    XString& ConvertNewlines( const XString& inNewline = kNewLineString );

    /// Replaces every occurrence, from left to right and without looking at what was put in. Returns how many
    /// there were; an empty `inFrom` occurs nowhere.
    USize64 Replace( const XString& inFrom, const XString& inTo );

    // Query

    /// The index of the first occurrence at or after `inStart`, or `kNotFound`. An empty text is found
    /// nowhere.
    SSize64 Find( const XString& inNeedle, bool inCaseSensitive = true, USize64 inStart = 0 ) const;

    /// The index of the last occurrence that begins at or before `inStart`, or `kNotFound`.
    SSize64
    FindReverse( const XString& inNeedle, bool inCaseSensitive = true, USize64 inStart = kToEnd ) const;

    /// These three are false when either text is empty.
    bool Contains( const XString& inText ) const;
    bool StartsWith( const XString& inText ) const;
    bool CaselessContains( const XString& inText ) const { return Find( inText, false ) != kNotFound; }
    bool CaselessStartsWith( const XString& inText ) const;

    /// Kept as callers have come to rely on it: true when the text occurs anywhere, and a comparison without
    /// case when both have the same length.
    bool EndsWith( const XString& inText ) const;
    bool CaselessEndsWith( const XString& inText ) const;

    bool CaselessEqual( const XString& inOther ) const noexcept;
    bool CaselessNotEqual( const XString& inOther ) const noexcept { return !CaselessEqual( inOther ); }

    /// True when there are only characters that numbers are written with: digits, '-', the locale's decimal
    /// point, 'e', 'E' and spaces.
    bool IsNumeric() const;

    /// The natural order: white space is skipped, and numbers, decimal and signed ones included, go by their
    /// value.
    bool
    IsLessThanIgnoring( const XString& inOther, bool inIgnoreDecimalPoint, bool inIgnoreMinusSign ) const;

    // Comparison with strings, `std::string` and NUL-terminated text, on either side. A null pointer is an internal
    // error. Less and greater go by the natural order, equal by bytes.

    template<class XFirst, XStringOperandBeside<XFirst> XSecond>
    friend bool operator<( const XFirst& inFirst, const XSecond& inSecond )
    {
        return IsNaturallyLess( GetView( inFirst ), GetView( inSecond ) );
    }
    template<class XFirst, XStringOperandBeside<XFirst> XSecond>
    friend bool operator>( const XFirst& inFirst, const XSecond& inSecond )
    {
        return inSecond < inFirst;
    }
    template<class XFirst, XStringOperandBeside<XFirst> XSecond>
    friend bool operator<=( const XFirst& inFirst, const XSecond& inSecond )
    {
        return !( inSecond < inFirst );
    }
    template<class XFirst, XStringOperandBeside<XFirst> XSecond>
    friend bool operator>=( const XFirst& inFirst, const XSecond& inSecond )
    {
        return !( inFirst < inSecond );
    }

    bool operator==( const XString& inOther ) const noexcept
    {
        return itsStorage == inOther.itsStorage ||
            ( itsStorage->size == inOther.itsStorage->size &&
              std::memcmp( itsStorage->data, inOther.itsStorage->data, itsStorage->size ) == 0 );
    }
    template<XCharPointer T>
    bool operator==( const T& str ) const
    {
        return GetStringView() == GetView( str );
    }
    bool operator==( const std::string& inText ) const noexcept { return GetStringView() == inText; }

    /// Up to `inCount` characters from `inStart`; empty when that lies at or past the end.
    XString SubStr( USize64 inStart, USize64 inCount = kToEnd ) const;

    /// Words are what lies between runs of the separator characters. Returns the text from the start of word
    /// `inIndex` to the end of the last of `inCount` words, with the separators between them as they stand;
    /// empty when there is no such word. Each call reads from the start of the text, so a loop over all words of a long text
    /// costs the square of their number: TokeniseValues splits in one go.
    XString SubWord( USize64 inIndex, USize64 inCount = 1, const XString& inSeparators = " " ) const;

    /// Splits into pairs at any of the first characters, and each pair into key and value at the first of any
    /// of the second. White space around keys and values is removed. A pair without separator has an empty
    /// value, one without key is left out, and the last of several values for a key counts.
    std::map<XString, XString>
    Tokenise( const XString& inPairSeparators, const XString& inKeyValueSeparators ) const;

    /// What lies between each two of the separator characters, empty values included; nothing for the empty
    /// string.
    XVector<XString> TokeniseValues( const XString& inSeparators ) const;

    /// The number of insertions, deletions, substitutions and swaps of neighbours that lead to the other
    /// text.
    USize64 FuzzyMatchLevenshtein( const XString& inOther, bool inIgnoreCase = false ) const;

    /// The index of the nearest candidate, the first of several; `kNotFound` if there are none.
    SSize64
    FindClosestLevenshteinMatch( const XVector<XString>& inCandidates, bool inIgnoreCase = false ) const;

    // Numeric reading
    //
    // Leading white space and a sign are accepted, and text after the number is ignored. 1000 if there is no
    // number. Integers that do not fit in 64 bits become the nearest one that does; narrower readers return
    // the low bits of that. A negative number read as unsigned is its two's complement. The decimal readers
    // return 0 for the empty string.

    /// These two return the code of the first character.
    std::int8_t GetSInt8() const;
    std::uint8_t GetUInt8() const;

    std::int16_t GetSInt16() const;
    std::uint16_t GetUInt16() const;
    std::int32_t GetSInt32() const;
    std::uint32_t GetUInt32() const;
    std::int64_t GetSInt64() const;
    std::uint64_t GetUInt64() const;

    /// Reads what the floating formats write, hexadecimal floats, "inf", "infinity" and "nan" in any case.
    /// The decimal point is the locale's. Too large a number is an infinity, too small a one 0.
    double GetSFloat64() const;

    /// A leading "0x" is accepted. 1000 for the empty string.
    std::uint8_t GetUInt8FromHex() const;
    std::uint16_t GetUInt16FromHex() const;
    std::uint32_t GetUInt32FromHex() const;
    std::uint64_t GetUInt64FromHex() const;

    // Storable

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XString* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// Runs threads that read and threads that change copies of one string, and checks that none sees the
    /// changes of another; an internal error if one does.
    static void TestStorageThreadSafety();

private:
    /// Characters and how many strings share them; one block of memory holds both.
    struct XStringStorage
    {
        char* data;             ///< Always followed by a NUL.
        std::uint64_t size;     ///< Bytes in `data`, the terminating NUL included; never 0.
        std::uint64_t capacity; ///< Bytes that `data` has room for.
        std::atomic<std::uint32_t> refCount;
    };

    /// What all empty strings share that nobody has written to. It is never counted, so that default
    /// construction, moving and destruction touch no memory that threads contend for, and its count of 2
    /// makes writers copy it.
    static XStringStorage sEmptyStorage;
    static XStringStorage sDotStorage;
    static XStringStorage sNewLineStorage;

    XStringStorage* itsStorage;

    static std::string_view GetView( const XString& inText ) noexcept { return inText.GetStringView(); }
    static std::string_view GetView( const std::string& inText ) noexcept { return inText; }
    static std::string_view GetView( const char* str )
    {
        XAssert( str );
        return str;
    }

    /// Both texts are followed by a NUL.
    static bool IsNaturallyLess( std::string_view inFirst, std::string_view inSecond );

    /// Takes over one reference.
    constexpr explicit XString( XStringStorage* inStorage ) noexcept : itsStorage( inStorage ) {}

    /// Storage for `inLength` characters and the NUL, which is set, with room for up to `inRoom` characters.
    static XStringStorage* NewStorage( USize64 inLength, USize64 inRoom );
    static XStringStorage* NewStorage( USize64 inLength ) { return NewStorage( inLength, inLength ); }
    static void FreeStorage( XStringStorage* inStorage ) noexcept;

    static void AddReference( XStringStorage* inStorage ) noexcept
    {
        if ( inStorage != &sEmptyStorage )
            inStorage->refCount.fetch_add( 1, std::memory_order_relaxed );
    }

    void ReferenceStorage( XStringStorage* newStorage )
    {
        if ( newStorage == itsStorage )
            return;
        XAssert( newStorage );
        AddReference( newStorage );
        UnreferenceStorage();
        itsStorage = newStorage;
    }

    /// The thread that gives up the last reference frees the storage. One that holds the only reference need not
    /// count it down, as nobody can take another then.
    void UnreferenceStorage() noexcept
    {
        if ( itsStorage != &sEmptyStorage &&
             ( !IsShared() || itsStorage->refCount.fetch_sub( 1, std::memory_order_acq_rel ) == 1 ) )
            FreeStorage( itsStorage );
    }

    bool IsShared() const noexcept { return itsStorage->refCount.load( std::memory_order_acquire ) > 1; }

    void CopyStorageForWrite()
    {
        if ( IsShared() )
            CopySharedStorage();
    }

    void CopySharedStorage();

    /// Gives up the current storage and takes over one reference to another.
    void AdoptStorage( XStringStorage* inStorage ) noexcept;

    /// True when a text of that length can take the place of the current one without wasting much memory.
    bool CanReuseStorage( USize64 inLength ) const noexcept;
    void SetLength( USize64 inLength ) noexcept
    {
        itsStorage->size = inLength + 1;
        itsStorage->data[inLength] = '\0';
    }

    XString& Append( const char* inText, USize64 inLength )
    {
        const USize64 length = GetLength();
        if ( inLength >= itsStorage->capacity - length || IsShared() )
            return AppendToNewStorage( inText, inLength );
        std::copy_n( inText, inLength, itsStorage->data + length );
        SetLength( length + inLength );
        return *this;
    }
    XString& AppendToNewStorage( const char* inText, USize64 inLength );

    template<XStringInteger T>
    static auto Widen( T inValue )
    {
        return static_cast<std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>>( inValue );
    }
    template<class T>
    static XStringStorage* FormatWide( T inValue, XIntStringFormat inFormat, std::int32_t digits );
    static XStringStorage*
    FormatInteger( std::int64_t inValue, XIntStringFormat inFormat, std::int32_t digits );
    static XStringStorage*
    FormatInteger( std::uint64_t inValue, XIntStringFormat inFormat, std::int32_t digits );
    XString& AppendInteger( std::int64_t inValue );
    XString& AppendInteger( std::uint64_t inValue );

    void WriteStreamSelf( XStream& inStream ) const;
    void ReadStreamSelf( XStream& inStream );
};

/// The order of ordered containers: by unsigned bytes, so that different strings are different keys.
template<>
struct std::less<XString>
{
    bool operator()( const XString& inFirst, const XString& inSecond ) const noexcept
    {
        return inFirst.GetStringView() < inSecond.GetStringView();
    }
};

template<>
struct std::hash<XString>
{
    std::size_t operator()( const XString& inText ) const noexcept
    {
        return std::hash<std::string_view>()( inText.GetStringView() );
    }
};
