#pragma once

#include "Imaging/Objects/XLabelledObjects.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "WPlatform.h"

#include <cstdint>

/// The narrowest type for labels up to that one.
KORVALE_IMAGING_API XTIFFWriter::XLabelType XGetLabelType( std::uint64_t inMostLabel );

/// Appends a page of that size and pixel size in which the pixels of each object have its label, and others 0. The labels
/// are consecutive, from `inFirstLabel`, and must fit into the type. Throws the errors of XTIFFWriter.
KORVALE_IMAGING_API void XWriteLabels(
    XTIFFWriter& ioWriter, const WImageFormat& inPage, const XLabelledObjects& inObjects,
    std::uint64_t inFirstLabel, XTIFFWriter::XLabelType inType );
