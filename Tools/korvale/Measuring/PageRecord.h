#pragma once

#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/XImageReader.h"
#include "Measuring/CachedOverlay.h"
#include "Measuring/CachedPage.h"
#include "Support/Failure.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

/// An image with the objects of the pages of another one, page by page.
struct GivenImage
{
    std::string path; // as the user gave it
    XImageReader reader;
    XGivenKind kind;
};

class ImageJournal;

/// The request for a page and its results, from the file to the table. Until the job is done, only the page's
/// job writes it.
struct PageRecord
{
    std::uint32_t number = 0;                   ///< counted from 0
    bool needsOverlay = false;                  ///< to be drawn, or for the labels
    const XMeasureSettings* settings = nullptr; ///< with the channels of its series
    GivenImage* given = nullptr;                ///< with its objects; null if they are to be found
    ImageJournal* journal = nullptr;            ///< keeps the results of the image; null without

    CachedPage samples;                   ///< with a background, from reading to measuring
    XPageMeasurement measurement;         ///< empty after a failure
    std::optional<CachedOverlay> overlay; ///< if requested and the page has been measured
    double ignoredPixelSize = 0; ///< XImageReader::GetIgnoredPixelSize, if another process read the file
    std::optional<Failure> failure;
    std::atomic<bool> isDone = false;

    /// Publishes the results. The page may be gone afterwards.
    void End()
    {
        samples.Drop();
        isDone = true;
    }
};
