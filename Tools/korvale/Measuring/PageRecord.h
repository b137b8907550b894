#pragma once

#include "Imaging/XPageMeasurement.h"
#include "Measuring/CachedOverlay.h"
#include "Measuring/CachedPage.h"
#include "Support/Failure.h"

#include <atomic>
#include <cstdint>
#include <optional>

/// A page on its way from the file to the table: what is asked of it, and what has become of it. Written by the page's
/// job, and by nobody else, until the job is done.
struct PageRecord
{
    std::uint32_t number = 0; ///< Counted from 0.
    bool needsOverlay = false;

    CachedPage samples;                   ///< With a background: from reading to measuring.
    XPageMeasurement measurement;         ///< Empty after a failure.
    std::optional<CachedOverlay> overlay; ///< Where one is needed and the page has been measured.
    std::optional<Failure> failure;
    std::atomic<bool> isDone = false;
};
