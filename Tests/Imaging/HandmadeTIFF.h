#pragma once

#include "Testing.h"

/// A classic TIFF in the byte order asked for, put together entry by entry.
struct HandmadeTIFF
{
    explicit HandmadeTIFF( bool inBigEndian )
        : itsIsBigEndian( inBigEndian ), itsBytes( inBigEndian ? "MM" : "II" )
    {
        Append( 42, 2 );
        Append( 0, 4 );
    }

    std::uint32_t Append( std::uint64_t inNumber, int inSize )
    {
        const auto position = static_cast<std::uint32_t>( itsBytes.size() );
        for ( int i = 0; i < inSize; ++i )
            itsBytes += static_cast<char>( inNumber >> 8 * ( itsIsBigEndian ? inSize - 1 - i : i ) );
        return position;
    }

    using Entries = std::vector<std::array<std::uint32_t, 4>>; ///< Tag, type, count, value.

    /// Adds a page behind those there are and returns the whole file.
    std::string Finish( const Entries& inEntries )
    {
        const auto position = Append( inEntries.size(), 2 );
        for ( const auto& [tag, type, count, value] : inEntries )
        {
            Append( tag, 2 );
            Append( type, 2 );
            Append( count, 4 );
            if ( type == 3 && count == 1 )
                Append( value, 2 );
            Append( type == 3 && count == 1 ? 0 : value, type == 3 && count == 1 ? 2 : 4 );
        }
        const auto link = Append( 0, 4 );
        const auto end = itsBytes.size();
        Append( position, 4 );
        itsBytes.replace( itsLink, 4, itsBytes.substr( end ) );
        itsBytes.resize( end );
        itsLink = link;
        return itsBytes;
    }

private:
    bool itsIsBigEndian;
    std::string itsBytes;
    std::size_t itsLink = 4; ///< Where the offset of the next directory belongs.
};
