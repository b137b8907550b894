#include "Imaging/Objects/XLabelledObjects.h"

#include <algorithm>

void XObjectShape::AddRun( const XPixelRun& inRun, std::uint32_t inVerticalAdjacencies )
{
    const auto count = inRun.end - inRun.first;
    if ( inRun.row < top )
    {
        top = inRun.row;
        firstX = inRun.first;
    }
    pixelCount += count;
    // The sum of the columns from first to end - 1; the centroid divides it by the number of pixels.
    sumX += ( std::uint64_t{ inRun.first } + inRun.end - 1 ) * count / 2;
    sumY += std::uint64_t{ inRun.row } * count;
    verticalAdjacencies += inVerticalAdjacencies;
    ++runCount;
    left = std::min( left, inRun.first );
    right = std::max( right, inRun.end - 1 );
    bottom = inRun.row;
}

void XObjectShape::Add( const XObjectShape& inOther )
{
    if ( inOther.top < top || ( inOther.top == top && inOther.firstX < firstX ) )
        firstX = inOther.firstX;
    pixelCount += inOther.pixelCount;
    sumX += inOther.sumX;
    sumY += inOther.sumY;
    verticalAdjacencies += inOther.verticalAdjacencies;
    runCount += inOther.runCount;
    left = std::min( left, inOther.left );
    top = std::min( top, inOther.top );
    right = std::max( right, inOther.right );
    bottom = std::max( bottom, inOther.bottom );
}

void XRemoveObjects(
    XLabelledObjects& ioObjects, const std::function<bool( const XObjectShape& )>& inIsRemoved )
{
    std::vector<std::uint32_t> numbers;
    numbers.reserve( ioObjects.shapes.size() );
    std::uint32_t kept = 0;
    for ( const auto& shape : ioObjects.shapes )
        numbers.push_back( inIsRemoved( shape ) ? XPixelRun::kNoObject : kept++ );
    if ( kept == numbers.size() )
        return;
    for ( std::size_t i = 0; i < numbers.size(); ++i )
        if ( numbers[i] != XPixelRun::kNoObject )
            ioObjects.shapes[numbers[i]] = ioObjects.shapes[i];
    ioObjects.shapes.resize( kept );
    for ( auto& run : ioObjects.runs )
        if ( run.object != XPixelRun::kNoObject )
            run.object = numbers[run.object];
}

void XLabelCollector::AddRow( std::span<const std::uint32_t> inLabels )
{
    auto& runs = itsObjects.runs;
    const auto rowStart = runs.size();
    const auto width = static_cast<std::uint32_t>( inLabels.size() );
    for ( std::uint32_t first = 0, end; first < width; first = end )
    {
        const auto label = inLabels[first];
        for ( end = first + 1; end < width && inLabels[end] == label; )
            ++end;
        if ( label != 0 )
            runs.push_back( { itsRow, first, end, GetObject( label ) } );
    }
    AddShapes( rowStart );
    itsRowStart = rowStart;
    ++itsRow;
}

std::uint32_t XLabelCollector::GetObject( std::uint32_t inLabel )
{
    const auto next = static_cast<std::uint32_t>( itsObjects.shapes.size() );
    const auto [place, isNew] = itsNumbers.emplace( inLabel, next );
    if ( isNew )
        itsObjects.shapes.emplace_back();
    return place->second;
}

/// Adds the runs of a row, the first of which is given, to the shapes of their objects.
void XLabelCollector::AddShapes( std::size_t inFirst )
{
    const auto& runs = itsObjects.runs;
    auto above = itsRowStart;
    for ( auto i = inFirst; i < runs.size(); ++i )
    {
        const auto& run = runs[i];
        // Both rows are sorted by column: runs above that end before this one meet no later one.
        while ( above < inFirst && runs[above].end <= run.first )
            ++above;
        std::uint32_t adjacencies = 0;
        for ( auto other = above; other < inFirst && runs[other].first < run.end; ++other )
            if ( runs[other].object == run.object )
                adjacencies +=
                    std::min( runs[other].end, run.end ) - std::max( runs[other].first, run.first );
        itsObjects.shapes[run.object].AddRun( run, adjacencies );
    }
}
