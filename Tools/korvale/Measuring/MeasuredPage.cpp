#include "Measuring/MeasuredPage.h"

#include <utility>

MeasuredPage MeasurePageSamples(
    const WImagePage& inPage, const XMeasureSettings& inSettings, bool inNeedsOverlay,
    const XGivenObjects* inGiven )
{
    auto objects = XFindPageObjects( inPage, inSettings, inGiven );
    MeasuredPage measured{ XMeasureObjects( inPage, objects, inSettings.values ), std::nullopt };
    // Made while the samples are there: the numbers of the objects follow when the preceding pages are known.
    if ( inNeedsOverlay )
        measured.sketch = XSketchOverlay( inPage, inSettings, std::move( objects ) );
    return measured;
}
