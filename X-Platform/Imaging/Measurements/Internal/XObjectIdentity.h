#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Imaging/Measurements/XPageMeasurement.h"
#include "WPlatform.h"

#include <string_view>

/// The identifier of an object. It is derived from the image, the page, and the position and appearance of
/// the object: measuring an image again results in the same identifiers, other images or settings in
/// different ones. `inImage` distinguishes images of the same name that are measured together.
KORVALE_IMAGING_API XUUID XMakeObjectIdentity(
    std::string_view inName, std::size_t inImage, std::uint32_t inPage, const XPageMeasurement& inMeasurement,
    std::size_t inObject );
