#pragma once

#include <bit>
#include <cstdint>
#include <vector>

/// A set of indices from which the least one is taken: a bit for each index, and on each level above a bit for each
/// word of the level below that is not 0. An operation takes a step for each level, at most six.
class XIndexQueue
{
public:
    /// Makes room for the indices below `inCount`, at least 1. The queue must be empty.
    void Reserve( std::uint64_t inCount )
    {
        for ( std::size_t level = 0;; ++level )
        {
            inCount = ( inCount + kBits - 1 ) / kBits;
            if ( level == itsLevels.size() )
                itsLevels.emplace_back();
            if ( itsLevels[level].size() < inCount )
                itsLevels[level].resize( inCount );
            if ( inCount == 1 && level + 1 >= itsLevels.size() )
                return;
        }
    }

    bool IsEmpty() const { return itsLevels.back().front() == 0; }

    void Add( std::uint64_t inIndex )
    {
        for ( auto& level : itsLevels )
        {
            auto& word = level[inIndex / kBits];
            const auto wasEmpty = word == 0;
            word |= std::uint64_t{ 1 } << inIndex % kBits;
            if ( !wasEmpty )
                return;
            inIndex /= kBits;
        }
    }

    /// The queue must not be empty.
    std::uint64_t TakeLeast()
    {
        std::uint64_t index = 0;
        for ( auto level = itsLevels.size(); level-- > 0; )
            index = index * kBits + static_cast<std::uint64_t>( std::countr_zero( itsLevels[level][index] ) );
        auto place = index;
        for ( auto& level : itsLevels )
        {
            auto& word = level[place / kBits];
            word &= word - 1; // On each level it is the lowest bit.
            if ( word != 0 )
                break;
            place /= kBits;
        }
        return index;
    }

private:
    static constexpr std::uint64_t kBits = 64;
    std::vector<std::vector<std::uint64_t>> itsLevels; // the last one has one word
};
