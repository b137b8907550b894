#pragma once

#include "Core/XTypes.h"

#include <algorithm>

/// Stable merge sort for orders that may contradict themselves, as the natural order of texts does: whatever
/// `inIsLess` answers, it ends, stays within the vector and keeps every element. Insertion sort of short
/// pieces, then merging from the bottom up with a buffer of half the elements. Internal.
template<class T, class TIsLess>
class XStableSort
{
public:
    XStableSort( XVector<T>& ioElements, TIsLess inIsLess ) : itsElements( ioElements ), itsIsLess( inIsLess )
    {
    }

    void Sort()
    {
        const std::size_t count = itsElements.size();
        for ( std::size_t first = 0; first < count; first += kPiece )
            InsertionSort( first, ( std::min )( first + kPiece, count ) );
        for ( std::size_t length = kPiece; length < count; length *= 2 )
        {
            for ( std::size_t first = 0; first + length < count; first += 2 * length )
                Merge( first, first + length, ( std::min )( first + 2 * length, count ) );
        }
    }

private:
    static constexpr std::size_t kPiece = 32;

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

    /// Moves the left piece out of the way and merges from the front; what is written never overtakes what is
    /// read.
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
