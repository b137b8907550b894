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

/// An integer that is converted to decimal text: every integer type except `bool` and the character types.
template<class T>
concept XStringInteger =
    std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

class XString;

/// A pointer to NUL-terminated text, or an array of characters.
template<class T>
concept XCharPointer = std::same_as < std::decay_t<T>,
char* > || std::same_as<std::decay_t<T>, const char*>;

/// A type that a string can be compared with without conversion.
template<class T>
concept XStringOperand = XCharPointer<T> || std::same_as<T, std::string> || std::derived_from<T, XString>;

/// Two operand types of which at least one is a string.
template<class T, class TOther>
concept XStringOperandBeside = XStringOperand<T> && XStringOperand<TOther> &&
    ( std::derived_from<T, XString> || std::derived_from<TOther, XString> );

/// The library's string: 8-bit text in the ANSI code page, in shared storage that is copied on write.
///
/// Copying a string costs one atomic increment. Different strings may be used from different threads even if
/// they share storage; one string must not be written while another thread uses it. Throws 1012 if memory
/// cannot be allocated.
///
/// Upper and lower case are those of ASCII in every caseless operation; all other bytes match only
/// themselves. NULs within the text are kept by copying, `Resize` and streaming, but searches, hashes and
/// conversions stop at the first one.
///
/// `operator<` is the natural order, in which "file2" comes before "file10". It ranks some different strings
/// as equal ("a b" and "ab"), so ordered containers use `std::less<XString>`, which compares bytes.
class KORVALE_API XString : public XStorable
{
public:
    enum XIntStringFormat
    {
        kIntPlain = 1,     ///< decimal
        kIntZeroPadded = 2 ///< decimal, padded with zeros to `digits` characters, including the sign
    };

    enum XFloatStringFormat
    {
        kFloatAuto = 1,  ///< up to six decimals without trailing zeros if that is readable, otherwise "%g"
        kFloatFixed = 2, ///< `digits` decimals
        kFloatFixedTrimmed = 3, ///< `digits` decimals without trailing zeros and trailing decimal point
        kFloatScientific = 4    ///< "%E"
    };

    enum XStringStripOptions
    {
        kStripLeading = 1,
        kStripTrailing = 2,
        kStripBoth = 3
    };

    /// The result of unsuccessful searches.
    static constexpr SSize64 kNotFound = -1;

    /// As a count: everything up to the end. As a position: the end.
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

    /// From a length byte and that many characters; a null pointer is an internal error.
    XString( const unsigned char* str );

    /// From NUL-terminated wide text, converted to the ANSI code page.
    XString( const wchar_t* str );
    XString( const std::wstring& inText );

    XString( const std::string& inText );
    XString( std::string_view inText );
    XString( char inCharacter );
    XString( bool ) = delete;

    /// From a number, as decimal text. `digits` is ignored for `kIntPlain`; for other formats it must be
    /// greater than 0.
    template<XStringInteger T>
    XString( T inValue, XIntStringFormat inFormat = kIntPlain, std::int32_t digits = 0 )
        : itsStorage( FormatInteger( Widen( inValue ), inFormat, digits ) )
    {
    }

    /// From a number. Infinities are "INF" and "-INF", NaNs are "NaN". The decimal point is that of the
    /// locale. `digits` is used by the fixed formats only; a negative value counts as 0.
    XString( double inValue, XFloatStringFormat inFormat = kFloatAuto, std::int32_t digits = 6 );

    /// Reads the stream form; see `ReadStream2`.
    explicit XString( XStream& inStream );

    // Access

    /// The number of bytes before the terminating NUL.
    USize64 GetLength() const noexcept { return itsStorage->size - 1; }
    bool IsEmpty() const noexcept { return itsStorage->size == 1; }

    /// The text, NUL-terminated; valid until the string is changed or destroyed.
    const char* GetConstCharPtr() const noexcept { return itsStorage->data; }
    const unsigned char* GetConstUCharPtr() const noexcept
    {
        return reinterpret_cast<const unsigned char*>( itsStorage->data );
    }
    /// Identifies the storage: strings with the same ID have equal texts. Valid as long as the result of
    /// `GetConstCharPtr`.
    const void* GetStorageID() const noexcept { return itsStorage; }
    std::string_view GetStringView() const noexcept { return { itsStorage->data, GetLength() }; }
    operator const char*() const noexcept { return itsStorage->data; }

    /// The text for writing within its length. Makes the storage private first; do not write through the
    /// pointer after the string has been copied.
    char* GetCharPtr()
    {
        CopyStorageForWrite();
        return itsStorage->data;
    }
    unsigned char* GetUCharPtr() { return reinterpret_cast<unsigned char*>( GetCharPtr() ); }

    /// Like `GetCharPtr`; selected only where a `char*` is required, so that calls taking a `const char*`
    /// copy nothing.
    template<class T>
    requires std::same_as<T, char>
    operator T*() { return GetCharPtr(); }

    /// The character at an index from 0 to the length, where the terminating NUL is; a larger index is an
    /// internal error. The non-const forms make the storage private.
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

    /// Converts between the ANSI code page and UTF-8. Malformed UTF-8, and characters that the code page
    /// lacks, become '?'. Throws WLastErrorException if the system fails.
    static XString FromUTF8( std::string_view inText );
    std::string ToUTF8() const;

    /// The text as wide characters, converted from the ANSI code page. Throws WLastErrorException if the
    /// system fails.
    operator std::wstring() const;

    /// Writes the length byte and the characters, at most 256 bytes in all. Throws 1354 if the text is longer
    /// than 255 bytes.
    void GetStr255( unsigned char* outBuffer ) const;

    /// A hash of the bytes up to the first NUL, the same on every system and in every version; 0 for the
    /// empty string.
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

    /// Replaces the text by `inCount` bytes of any value. A null pointer with a count other than 0 is an
    /// internal error.
    void CopyFromPtr( const char* ptr, USize64 inCount );

    /// Replaces the text by `inCount` wide characters, converted to the ANSI code page. Throws
    /// WLastErrorException if the system fails.
    void CopyFromPtr( const wchar_t* ptr, USize64 inCount );

    /// Appends in amortised constant time per byte.
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

    /// Concatenates: the second operand may be anything that `operator+=` accepts; text may also come first.
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

    /// Truncates the text, or extends it with NULs that count towards the length. `kToEnd` has no special
    /// meaning here: 1012.
    void Resize( USize64 inLength );

    /// Loads a text from the library's string table. Throws 1279 if it is missing or empty.
    void LoadStringA( std::uint32_t inResourceID );

    /// Sets the text to the value in hexadecimal, padded to at least `digits` digits if `inPadWithZeros` is
    /// set.
    void SetHexString(
        std::uint64_t inValue, std::int32_t digits = 0, bool inPadWithZeros = false,
        bool inUpperCase = true );

    /// A size in readable form: "1023 bytes", "1.5 K", "1.0 MB", and so on up to TB.
    static XString MakeBytesString( std::int64_t inBytes );

    // Editing

    XString& Upper();
    XString& Lower();

    /// Keeps at most `inCount` characters from `inStart` on.
    XString& Truncate( USize64 inCount, USize64 inStart = 0 );
    XString& StripFirst( USize64 inCount );
    XString& StripLast( USize64 inCount );

    /// Removes all leading or trailing copies of a character, or both; NUL is an internal error.
    XString& Strip( XStringStripOptions inOptions = kStripBoth, char whichChar = ' ' );

    /// Replaces every run of the character by a single one.
    XString& StripRepeatedChars( char inCharacter );

    /// Replaces every line break (CR LF, CR or LF) by `inNewline`.
    XString& ConvertNewlines( const XString& inNewline = kNewLineString );

    /// Replaces every occurrence from left to right, without searching the inserted text. Returns the number
    /// of replacements; an empty `inFrom` never occurs.
    USize64 Replace( const XString& inFrom, const XString& inTo );

    // Query

    /// The index of the first occurrence at or after `inStart`, or `kNotFound`. An empty text is never found.
    SSize64 Find( const XString& inNeedle, bool inCaseSensitive = true, USize64 inStart = 0 ) const;

    /// The index of the last occurrence that begins at or before `inStart`, or `kNotFound`.
    SSize64
    FindReverse( const XString& inNeedle, bool inCaseSensitive = true, USize64 inStart = kToEnd ) const;

    /// Contains, StartsWith and their caseless forms return false if either text is empty.
    bool Contains( const XString& inText ) const;
    bool StartsWith( const XString& inText ) const;
    bool CaselessContains( const XString& inText ) const { return Find( inText, false ) != kNotFound; }
    bool CaselessStartsWith( const XString& inText ) const;

    /// Compatibility behaviour, despite the name: true if the text occurs anywhere; if both texts have the
    /// same length, case is ignored.
    bool EndsWith( const XString& inText ) const;
    bool CaselessEndsWith( const XString& inText ) const;

    bool CaselessEqual( const XString& inOther ) const noexcept;
    bool CaselessNotEqual( const XString& inOther ) const noexcept { return !CaselessEqual( inOther ); }

    /// True if the text is not empty and consists only of characters used in numbers: digits, '-', the
    /// locale's decimal point, 'e', 'E' and spaces.
    bool IsNumeric() const;

    /// The natural order: white space is skipped, and numbers, including decimal and signed ones, are
    /// compared by value.
    bool
    IsLessThanIgnoring( const XString& inOther, bool inIgnoreDecimalPoint, bool inIgnoreMinusSign ) const;

    // Comparison with strings, `std::string` and NUL-terminated text, on either side. A null pointer is an
    // internal error. Less and greater use the natural order, equality compares bytes.

    template<class TFirst, XStringOperandBeside<TFirst> XSecond>
    friend bool operator<( const TFirst& inFirst, const XSecond& inSecond )
    {
        return IsNaturallyLess( GetView( inFirst ), GetView( inSecond ) );
    }
    template<class TFirst, XStringOperandBeside<TFirst> XSecond>
    friend bool operator>( const TFirst& inFirst, const XSecond& inSecond )
    {
        return inSecond < inFirst;
    }
    template<class TFirst, XStringOperandBeside<TFirst> XSecond>
    friend bool operator<=( const TFirst& inFirst, const XSecond& inSecond )
    {
        return !( inSecond < inFirst );
    }
    template<class TFirst, XStringOperandBeside<TFirst> XSecond>
    friend bool operator>=( const TFirst& inFirst, const XSecond& inSecond )
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

    /// Up to `inCount` characters from `inStart` on; empty if `inStart` is at or past the end.
    XString SubStr( USize64 inStart, USize64 inCount = kToEnd ) const;

    /// Words are separated by runs of the separator characters. Returns the text from the start of word
    /// `inIndex` to the end of the last of `inCount` words, including the separators between them; empty if
    /// there is no such word. Each call scans from the start of the text, so a loop over all words takes time
    /// quadratic in their number: use TokeniseValues to split in one pass.
    XString SubWord( USize64 inIndex, USize64 inCount = 1, const XString& inSeparators = " " ) const;

    /// Splits the text into pairs at any of `inPairSeparators`, and each pair into key and value at the first
    /// of any of `inKeyValueSeparators`. Trims white space around keys and values. A pair without separator
    /// has an empty value, a pair without key is skipped, and the last of several values for a key is kept.
    std::map<XString, XString>
    Tokenise( const XString& inPairSeparators, const XString& inKeyValueSeparators ) const;

    /// The values between the separator characters, including empty ones; an empty vector for the empty
    /// string.
    XVector<XString> TokeniseValues( const XString& inSeparators ) const;

    /// The number of insertions, deletions, substitutions and swaps of neighbours that turn this text into
    /// the other one.
    USize64 FuzzyMatchLevenshtein( const XString& inOther, bool inIgnoreCase = false ) const;

    /// The index of the closest candidate, the first of equally close ones; `kNotFound` if there are no
    /// candidates.
    SSize64
    FindClosestLevenshteinMatch( const XVector<XString>& inCandidates, bool inIgnoreCase = false ) const;

    // Numeric reading
    //
    // Leading white space and a sign are accepted, and text after the number is ignored. Throws 1000 if there
    // is no number. Integers beyond 64 bits are clamped to the nearest 64-bit value; narrower readers return
    // its low bits. A negative number read as unsigned is its two's complement. The decimal readers return 0
    // for the empty string.

    /// These two return the code of the first character.
    std::int8_t GetSInt8() const;
    std::uint8_t GetUInt8() const;

    std::int16_t GetSInt16() const;
    std::uint16_t GetUInt16() const;
    std::int32_t GetSInt32() const;
    std::uint32_t GetUInt32() const;
    std::int64_t GetSInt64() const;
    std::uint64_t GetUInt64() const;

    /// Reads the output of the floating formats, hexadecimal floats, "inf", "infinity" and "nan" in any case.
    /// The decimal point is that of the locale. Numbers that are too large become infinite, too small ones 0.
    double GetSFloat64() const;

    /// A leading "0x" is accepted. Throws 1000 for the empty string.
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

    /// Self-test: runs threads that read and threads that change copies of one string; an internal error if
    /// one sees the changes of another.
    static void TestStorageThreadSafety();

private:
    /// The characters and the count of strings that share them, in one block of memory.
    struct XStringStorage
    {
        char* data;             // always followed by a NUL
        std::uint64_t size;     // bytes in `data`, including the terminating NUL; never 0
        std::uint64_t capacity; // bytes allocated for `data`
        std::atomic<std::uint32_t> refCount;
    };

    /// The storage shared by all empty strings that have not been written to. Its references are not counted,
    /// so that default construction, moving and destruction touch no contended memory; its constant count of
    /// 2 makes writers copy it.
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

    /// Both texts must be followed by a NUL.
    static bool IsNaturallyLess( std::string_view inFirst, std::string_view inSecond );

    /// Takes over one reference.
    constexpr explicit XString( XStringStorage* inStorage ) noexcept : itsStorage( inStorage ) {}

    /// Storage for `inLength` characters and the NUL, which is set, with capacity for `inRoom` characters.
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

    /// The thread that gives up the last reference frees the storage. The owner of the only reference does
    /// not decrement it, since no other thread can add one then.
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

    /// Releases the current storage and takes over one reference to another.
    void AdoptStorage( XStringStorage* inStorage ) noexcept;

    /// True if a text of that length can replace the current one without wasting much memory.
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

/// The order for ordered containers: by unsigned bytes, so that different strings are different keys.
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
