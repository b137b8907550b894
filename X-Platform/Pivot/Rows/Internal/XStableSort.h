#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <bit>

/// Stable merge sort for comparisons that may be inconsistent, such as the natural order of texts: whatever
/// `inIsLess` returns, the sort ends, stays within the vector and keeps every element. Short pieces are
/// sorted by insertion and merged with a buffer of half the elements as soon as there are two of equal
/// length, while they are still in the caches. Internal.
template<class T, class TIsLess>
class XStableSort
{
public:
    XStableSort( XVector<T>& ioElements, TIsLess inIsLess ) : itsElements( ioElements ), itsIsLess( inIsLess )
    {
    }

    void Sort() { SortPart( 0, ( std::max )( kPiece, std::bit_ceil( itsElements.size() ) ) ); }

private:
    static constexpr std::size_t kPiece = 32; // a power of two

    /// The length is a power of two and may extend past the end.
    void SortPart( std::size_t inFirst, std::size_t inLength )
    {
        const std::size_t end = ( std::min )( inFirst + inLength, itsElements.size() );
        if ( inLength == kPiece )
            return InsertionSort( inFirst, end );
        const std::size_t middle = inFirst + inLength / 2;
        SortPart( inFirst, inLength / 2 );
        if ( middle >= end )
            return;
        SortPart( middle, inLength / 2 );
        Merge( inFirst, middle, end );
    }

    void InsertionSort( std::size_t inFirst, std::size_t inEnd )
    {
        for ( std::size_t next = inFirst + 1; next < inEnd; ++next )
        {
            T element = std::move( itsElements[next] );
            std::size_t place = next;
            for ( ; place > inFirst && itsIsLess( element, itsElements[place - 1] ); --place )
                itsElements[place] = std::move( itsElements[place - 1] );
            itsElements[place] = std::move( element );
        }
    }

    /// Moves the left piece to the buffer and merges from the front; the write position never passes the read
    /// position.
    void Merge( std::size_t inFirst, std::size_t inMiddle, std::size_t inEnd )
    {
        if ( !itsIsLess( itsElements[inMiddle], itsElements[inMiddle - 1] ) )
            return;
        const auto begin = itsElements.begin();
        const auto at = [begin]( std::size_t inIndex )
        { return begin + static_cast<std::ptrdiff_t>( inIndex ); };
        itsBuffer.assign( std::move_iterator( at( inFirst ) ), std::move_iterator( at( inMiddle ) ) );
        std::size_t left = 0;
        std::size_t right = inMiddle;
        std::size_t place = inFirst;
        while ( left < itsBuffer.size() && right < inEnd )
        {
            if ( itsIsLess( itsElements[right], itsBuffer[left] ) )
                itsElements[place++] = std::move( itsElements[right++] );
            else
                itsElements[place++] = std::move( itsBuffer[left++] );
        }
        std::move( itsBuffer.begin() + static_cast<std::ptrdiff_t>( left ), itsBuffer.end(), at( place ) );
    }

    XVector<T>& itsElements;
    TIsLess itsIsLess;
    XVector<T> itsBuffer;
};
