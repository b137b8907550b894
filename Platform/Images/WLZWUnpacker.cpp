#include "Images/WLZWUnpacker.h"

#include <algorithm>
#include <bit>
#include <cstring>

// Texts are stored as chains of 8 bytes, so that one or two stores unpack most codes. A store may write up to
// 7 bytes beyond its text, which the next one overwrites; a text without room for that is unpacked to itsRest
// first.
//
// The LZW of TIFF: codes of 9 to 12 bits, most significant bit first. Codes below 256 are bytes, 256 clears
// the table and 257 ends the data; the others stand for texts seen before. The width grows one code earlier
// than the table requires ("early change"), which every writer does.
//
// A text is the text of another code with one byte more, so an entry needs only a reference and the byte.
// Here an entry has the last up to eight bytes of its text in a word, and the reference leads to the entry
// before those (`before`): a chain of words instead of bytes.

namespace
{
constexpr std::uint32_t kLiterals = 256, kClear = 256, kEnd = 257, kFirstCode = 258;
constexpr std::uint32_t kShortest = 9, kLongest = 12; // Bits of a code.
constexpr std::uint32_t kNoCode = UINT32_MAX;
constexpr std::uint32_t kNotCleared = 0; // In place of the next code.

std::uint64_t PutByte( std::uint8_t inByte, std::size_t inPlace )
{
    const auto place = std::endian::native == std::endian::little ? inPlace : 7 - inPlace;
    return std::uint64_t{ inByte } << 8 * place;
}

std::uint64_t GetBigEndian( const std::uint8_t* inBytes )
{
    std::uint64_t number = 0;
    for ( int i = 0; i < 8; ++i )
        number = number << 8 | inBytes[i];
    return number;
}
} // namespace

WLZWUnpacker::WLZWUnpacker( WTIFFPackedBytes inPacked ) : WTIFFUnpacker( std::move( inPacked ) )
{
    itsTexts = {};
    for ( std::uint32_t code = 0; code < kLiterals; ++code )
    {
        const auto literal = static_cast<std::uint8_t>( code );
        itsTexts[code] = { PutByte( literal, 0 ), 0, 1, literal };
    }
}

void WLZWUnpacker::Reset()
{
    itsRestStart = itsRestEnd = 0;
    itsBits = {};
    itsBits.width = kShortest;
    itsNextCode = kNotCleared;
}

void WLZWUnpacker::Clear()
{
    itsBits.width = kShortest;
    itsNextCode = kFirstCode;
    itsPrevious = kNoCode;
}

void WLZWUnpacker::Unpack( std::byte* outBytes, std::size_t inCount )
{
    const auto rest = TakeRest( outBytes, inCount );
    auto* out = outBytes + rest;
    auto* const end = outBytes + inCount;
    while ( out < end )
    {
        const auto code = TakeCode( itsBits );
        // More bytes are expected: the end comes too early.
        if ( code == kEnd )
            RefuseTooShort();
        if ( code == kClear )
        {
            Clear();
            continue;
        }
        AddText( code );
        const auto& text = itsTexts[code];
        itsPrevious = code;
        if ( text.length + kPiece <= static_cast<std::size_t>( end - out ) )
        {
            CopyText( text, out );
            out += text.length;
            continue;
        }
        CopyText( text, itsRest.data() );
        itsRestStart = 0;
        itsRestEnd = text.length;
        out += TakeRest( out, static_cast<std::size_t>( end - out ) );
    }
}

std::size_t WLZWUnpacker::TakeRest( std::byte* outBytes, std::size_t inCount )
{
    const auto count = std::min( itsRestEnd - itsRestStart, inCount );
    std::memcpy( outBytes, itsRest.data() + itsRestStart, count );
    itsRestStart += count;
    return count;
}

std::uint32_t WLZWUnpacker::TakeCode( Bits& ioBits )
{
    if ( ioBits.count < ioBits.width )
        Fill( ioBits );
    const auto code = static_cast<std::uint32_t>( ioBits.bits >> ( 64 - ioBits.width ) );
    ioBits.bits <<= ioBits.width;
    ioBits.count -= ioBits.width;
    return code;
}

/// Bits below those that count are those of the next byte, which are added again, or 0.
void WLZWUnpacker::Fill( Bits& ioBits )
{
    if ( itsPacked.GetCount() < 8 )
        itsPacked.ReadMore();
    const auto* const bytes = itsPacked.GetBytes();
    if ( itsPacked.GetCount() >= 8 )
    {
        const auto taken = ( 63 - ioBits.count ) / 8;
        ioBits.bits |= GetBigEndian( bytes ) >> ioBits.count;
        ioBits.count += taken * 8;
        itsPacked.Skip( taken );
        return;
    }
    std::size_t taken = 0;
    for ( ; taken < itsPacked.GetCount() && ioBits.count <= 56; ++taken, ioBits.count += 8 )
        ioBits.bits |= std::uint64_t{ bytes[taken] } << ( 56 - ioBits.count );
    itsPacked.Skip( taken );
    if ( ioBits.count < ioBits.width )
        RefuseTooShort();
}

/// Every code but the first adds the text of the one before it and the first byte of its own, which may be that very text.
void WLZWUnpacker::AddText( std::uint32_t inCode )
{
    if ( itsNextCode == kNotCleared ) // As in files of before 1992, whose bits lie the other way round.
        Refuse( "LZW data do not begin with a clear code" );
    const auto most = itsPrevious == kNoCode ? kLiterals - 1 : itsNextCode;
    if ( inCode > most )
        Refuse( "LZW code " + std::to_string( inCode ) + " is not defined yet" );
    // The first code after a clear adds nothing, and a full table stays as it is until it is cleared.
    if ( itsPrevious == kNoCode || itsNextCode == kMostCodes )
        return;

    const auto& previous = itsTexts[itsPrevious];
    const auto last = inCode == itsNextCode ? previous.first : itsTexts[inCode].first;
    const auto length = static_cast<std::uint16_t>( previous.length + 1 );
    const auto place = previous.length % kPiece;
    itsTexts[itsNextCode] = place == 0
        ? Text{ PutByte( last, 0 ), static_cast<std::uint16_t>( itsPrevious ), length, previous.first }
        : Text{ previous.end | PutByte( last, place ), previous.before, length, previous.first };
    ++itsNextCode;
    if ( itsNextCode + 1 == 1u << itsBits.width && itsBits.width < kLongest )
        ++itsBits.width;
}

/// Writes up to 7 bytes more.
void WLZWUnpacker::CopyText( const Text& inText, std::byte* outBytes ) const
{
    const auto* text = &inText;
    for ( auto place = ( inText.length - 1u ) / kPiece * kPiece;; place -= kPiece )
    {
        std::memcpy( outBytes + place, &text->end, kPiece );
        if ( place == 0 )
            return;
        text = &itsTexts[text->before];
    }
}
