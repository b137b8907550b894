#pragma once

#include "Imaging/Objects/XLabelledObjects.h"
#include "Jobs/XChunks.h"

#include <span>
#include <vector>

/// Calls `inWork( run )` for every run of an object, in raster order. An abort throws 1001 between chunks of
/// runs.
template<class TWork>
void XForEachObjectRun( const XLabelledObjects& inObjects, TWork inWork )
{
    constexpr std::uint64_t kRunsAtOnce = 1024;
    XForEachChunk(
        inObjects.runs.size(), kRunsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                if ( inObjects.runs[i].object != XPixelRun::kNoObject )
                    inWork( inObjects.runs[i] );
        } );
}

/// The runs of the objects, object after object, those of each in raster order.
class XRunsByObject
{
public:
    explicit XRunsByObject( const XLabelledObjects& inObjects ) : itsBegins( inObjects.shapes.size() + 1 )
    {
        for ( std::size_t i = 0; i < inObjects.shapes.size(); ++i )
            itsBegins[i + 1] = itsBegins[i] + inObjects.shapes[i].runCount;
        itsRuns.resize( itsBegins.back() );
        auto places = itsBegins;
        XForEachObjectRun(
            inObjects, [&]( const XPixelRun& inRun ) { itsRuns[places[inRun.object]++] = inRun; } );
    }

    std::span<const XPixelRun> Get( std::size_t inObject ) const
    {
        return { itsRuns.data() + itsBegins[inObject], itsBegins[inObject + 1] - itsBegins[inObject] };
    }

private:
    std::vector<XPixelRun> itsRuns;
    std::vector<std::size_t> itsBegins; // one more than there are objects
};
