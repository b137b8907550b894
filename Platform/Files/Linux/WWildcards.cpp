#include "Files/WWildcards.h"

/// The bytes of a character in one number; a byte that does not belong to a character is one itself.
std::u32string WWildcards::GetComparable( const std::filesystem::path& inName )
{
    constexpr unsigned char kContinuation = 0x80, kContinuationMask = 0xC0;
    std::u32string characters;
    bool isOpen = false; // a further byte may continue the last character
    for ( const auto character : inName.native() )
    {
        const auto byte = static_cast<unsigned char>( character );
        const auto continues = ( byte & kContinuationMask ) == kContinuation;
        if ( continues && isOpen )
            characters.back() = characters.back() << 8 | byte;
        else
            characters += byte;
        isOpen = byte >= kContinuation && ( continues ? isOpen : true );
        isOpen = isOpen && characters.back() < 0x1000000;
    }
    return characters;
}
