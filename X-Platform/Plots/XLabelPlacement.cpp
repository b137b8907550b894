#include "Plots/XLabelPlacement.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <numeric>
#include <unordered_map>

// A greedy placement: large objects first, each label at the first of its candidate places that is inside the
// picture and free. Labels that find none are left out. Overlaps are found through a grid of squares of 32
// pixels, so that a place is compared with its neighbours only.

namespace
{
/// Boxes that do not overlap, found by the squares of a grid that they lie on.
class TakenPlaces
{
public:
    bool IsFree( const XLabelBox& inBox ) const
    {
        auto isFree = true;
        ForEachSquare(
            inBox,
            [&]( std::uint64_t inSquare )
            {
                const auto found = itsBoxes.find( inSquare );
                if ( found != itsBoxes.end() )
                    isFree &= std::ranges::none_of(
                        found->second,
                        [&]( const XLabelBox& inEach ) { return DoOverlap( inBox, inEach ); } );
            } );
        return isFree;
    }

    void Take( const XLabelBox& inBox )
    {
        ForEachSquare( inBox, [&]( std::uint64_t inSquare ) { itsBoxes[inSquare].push_back( inBox ); } );
    }

private:
    std::unordered_map<std::uint64_t, std::vector<XLabelBox>> itsBoxes;

    static bool DoOverlap( const XLabelBox& inOne, const XLabelBox& inOther )
    {
        return inOne.left < inOther.right && inOther.left < inOne.right && inOne.top < inOther.bottom &&
            inOther.top < inOne.bottom;
    }

    /// All requested positions are at least 0.
    template<class TAction>
    static void ForEachSquare( const XLabelBox& inBox, TAction inAction )
    {
        constexpr double kSide = 32;
        const auto toSquare = []( double inLength )
        { return static_cast<std::uint64_t>( inLength / kSide ); };
        for ( auto y = toSquare( inBox.top ); y <= toSquare( inBox.bottom ); ++y )
            for ( auto x = toSquare( inBox.left ); x <= toSquare( inBox.right ); ++x )
                inAction( y << 32 | x );
    }
};

/// The places for a number, the best one first.
std::vector<WPoint> ListPlaces( const XObjectLabel& inNumber )
{
    constexpr double kGap = 3;
    const auto& [object, centre, width, height] = inNumber;
    if ( width <= object.GetWidth() && height <= object.GetHeight() )
        return {
            centre,
            { centre.x, centre.y + height },
            { centre.x, centre.y - height },
            { centre.x + width, centre.y },
            { centre.x - width, centre.y } };
    const auto x = ( object.left + object.right ) / 2, y = ( object.top + object.bottom ) / 2;
    return {
        { object.right + kGap + width / 2, y },
        { object.left - kGap - width / 2, y },
        { x, object.bottom + kGap + height / 2 },
        { x, object.top - kGap - height / 2 } };
}

XLabelBox GetBox( WPoint inCentre, const XObjectLabel& inNumber )
{
    return {
        inCentre.x - inNumber.width / 2, inCentre.y - inNumber.height / 2, inCentre.x + inNumber.width / 2,
        inCentre.y + inNumber.height / 2 };
}

std::vector<std::size_t> OrderBySize( const std::vector<XObjectLabel>& inLabels )
{
    std::vector<std::size_t> order( inLabels.size() );
    std::iota( order.begin(), order.end(), std::size_t{ 0 } );
    std::ranges::stable_sort(
        order, std::greater(),
        [&]( std::size_t inEach )
        { return inLabels[inEach].object.GetWidth() * inLabels[inEach].object.GetHeight(); } );
    return order;
}
} // namespace

std::vector<std::optional<WPoint>>
XPlaceLabels( const std::vector<XObjectLabel>& inLabels, double inWidth, double inHeight )
{
    std::vector<std::optional<WPoint>> places( inLabels.size() );
    TakenPlaces taken;
    for ( const auto i : OrderBySize( inLabels ) )
        for ( const auto place : ListPlaces( inLabels[i] ) )
        {
            const auto box = GetBox( place, inLabels[i] );
            const auto isInside =
                box.left >= 0 && box.top >= 0 && box.right <= inWidth && box.bottom <= inHeight;
            if ( !isInside || !taken.IsFree( box ) )
                continue;
            taken.Take( box );
            places[i] = place;
            break;
        }
    return places;
}
