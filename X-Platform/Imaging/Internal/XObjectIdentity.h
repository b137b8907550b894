#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Imaging/XPageMeasurement.h"
#include "WPlatform.h"

#include <string_view>

/// The identity of an object among all others: it follows from the image, the page, and where the object lies and what it
/// looks like, so measuring an image again gives the same objects, and another image or other settings give others.
/// `inImage` tells apart images of one name that are measured together.
KORVALE_IMAGING_API XUUID XMakeObjectIdentity(
    std::string_view inName, std::size_t inImage, std::uint32_t inPage, const XPageMeasurement& inMeasurement,
    std::size_t inObject );
