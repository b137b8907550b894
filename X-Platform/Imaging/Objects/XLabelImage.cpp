#include "Imaging/Objects/XLabelImage.h"

#include <algorithm>
#include <limits>

XTIFFWriter::XLabelType XGetLabelType( std::uint64_t inMostLabel )
{
    return inMostLabel <= std::numeric_limits<std::uint16_t>::max() ? XTIFFWriter::k16Bits
                                                                    : XTIFFWriter::k32Bits;
}

void XWriteLabels(
    XTIFFWriter& ioWriter, const WImageFormat& inPage, const XLabelledObjects& inObjects,
    std::uint64_t inFirstLabel, XTIFFWriter::XLabelType inType )
{
    // Rows are written in order, and runs are in that order.
    auto run = inObjects.runs.begin();
    const auto getLabels = [&]( std::uint32_t inRow, std::span<std::uint32_t> outLabels )
    {
        for ( ; run != inObjects.runs.end() && run->row == inRow; ++run )
            if ( run->object != XPixelRun::kNoObject )
                std::fill(
                    outLabels.begin() + run->first, outLabels.begin() + run->end,
                    static_cast<std::uint32_t>( inFirstLabel + run->object ) );
    };
    ioWriter.WriteLabels( inPage, inType, getLabels );
}
