#pragma once

#include "Core/Times/XTimer.h"
#include "Imaging/Measurements/XMeasurementTable.h"
#include "Imaging/XImageReader.h"
#include "Measuring/ImageJournal.h"
#include "Measuring/PageRecord.h"
#include "Measuring/SharedFile.h"
#include "Measuring/StackBackground.h"
#include "Support/Failure.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The file with the objects of an image.
struct GivenFile
{
    std::string path;
    XGivenKind kind;
};

/// An image whose pages are being measured: its files, the requests for its pages, and how far its results have been taken.
/// Threads: that of the command, except for the pages (PageRecord), the background and the journal.
struct ImageRecord
{
    std::string path; ///< as the user gave it
    USize number;     ///< among all images
    XImageReader reader;
    XImageMeasurement measurement;
    std::vector<XMeasureSettings> settings; ///< of the series
    std::deque<PageRecord> pages;
    std::unique_ptr<StackBackground> background; ///< null without
    std::optional<SharedFile> file;              ///< if nodes read it
    std::unique_ptr<GivenImage> given;           ///< null if objects are to be found
    std::unique_ptr<ImageJournal> journal;       ///< null without
    std::uint32_t gathered = 0;                  ///< pages whose results have been taken, in order
    std::uint32_t measured = 0;
    std::uint32_t finished = 0;     ///< pages whose results are taken from the journal
    std::optional<Failure> failure; ///< that of the pages gathered last, from `firstFailed` on
    std::uint32_t firstFailed = 0;
    double ignoredPixelSize = 0; ///< by nodes
    XTimer timer;

    /// Opens the image.
    ImageRecord( const std::string& inPath, USize inNumber, const XImageReadSettings& inReading );
    /// Opens the image with its objects. Throws WImageError, also if the two have different numbers of pages.
    void OpenGiven( const GivenFile& inGiven, const XImageReadSettings& inReading );
    /// Looks its pages up in the journal. `inFile` and `inGivenFile` describe the first file of the image and of that with
    /// its objects, as they were before they were opened, for they may have been replaced since. An image of which a file
    /// cannot be read is not kept.
    void OpenJournal(
        MeasureJournal& ioJournal, const XImageReadSettings& inReading,
        const std::optional<SharedFile>& inFile, const std::optional<SharedFile>& inGivenFile );

    std::uint32_t GetPageCount() const { return static_cast<std::uint32_t>( pages.size() ); }
    bool IsComplete() const { return gathered == pages.size(); }
    /// Throws 1001 if the user has aborted one of its pages.
    void CheckAbort() const;
    bool HasLackedMemory() const;
    bool HasGoodPages() const;
    /// The failure is that of all pages that have none yet.
    void Refuse( const Failure& inFailure );
};
