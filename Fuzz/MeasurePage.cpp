// The job and the result of a page that a node measures, which the first byte selects. What can be read is used without
// further checks: the overlay of a result is drawn.

#include "FuzzTools.h"

#include "Measuring/MeasurePageJob.h"
#include "Plots/XOverlay.h"

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    if ( inSize == 0 )
        return 0;
    XMemStream stream( inData + 1, inSize - 1 );
    stream.SetByteOrder( kIntelOrder );
    MeasurePageJob job;
    MeasurePageResult result;
    XStorable& record = inData[0] == 0 ? static_cast<XStorable&>( result ) : job;
    bool isRead = false;
    RequireDocumentedErrors(
        { 1003, 1005, 1015, 1260 },
        [&]
        {
            record.ReadStream2( stream );
            isRead = true;
        } );
    if ( !isRead || !result.page.sketch )
        return 0;
    constexpr std::size_t kMostLevels = 1 << 20; // larger pictures take long
    if ( result.page.sketch->picture.levels.size() <= kMostLevels )
        XDrawOverlay( *result.page.sketch );
    XMemStream copy;
    result.WriteStream2( copy, XStorable::kNoOptions );
    Require( copy.GetLength() == result.GetStreamUsage() );
    return 0;
}
