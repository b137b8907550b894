#pragma once

#include "Imaging/XImageStructure.h"

#include <optional>

/// Consecutive pages of a file that a description maps to planes.
struct XPageBlock
{
    std::uint64_t firstChannel = 0;
    std::uint64_t firstSlice = 0;
    std::uint64_t firstTime = 0;
    std::uint64_t firstDirectory = 0;   ///< in its file
    std::optional<std::uint64_t> count; ///< without a value, all planes of the series
    std::string file = {};              ///< name of another file in the same folder; empty: the file itself
};

/// The time of a plane, in seconds.
struct XPlaneTime
{
    std::uint64_t channel = 0;
    std::uint64_t slice = 0;
    std::uint64_t time = 0;
    double seconds = 0;
};

/// A series as a description declares it.
struct XDeclaredSeries
{
    std::string name = {};
    std::uint64_t width = 0; ///< 0 if not declared
    std::uint64_t height = 0;
    std::uint64_t channels = 1; ///< with those that are samples of one pixel, if `countsSamples`
    std::uint64_t slices = 1;
    std::uint64_t times = 1;
    std::string order = "CZT";                  ///< of the pages, the fastest dimension first
    std::vector<XPageBlock> blocks = {};        ///< empty: the pages follow those of the preceding series
    std::vector<XPlaneTime> planeTimes = {};    ///< may be incomplete
    std::vector<std::string> channelNames = {}; ///< may be incomplete
    double pixelWidth = 0;                      ///< in micrometres; 0 if not declared
    double pixelHeight = 0;
    double sliceSpacing = 0;
    double timeInterval = 0; ///< in seconds
};

/// A description that is understood as far as its form is concerned. Nothing has been compared with the pages.
struct XImageDescription
{
    XImageSource source = XImageSource::kPages;
    std::vector<XDeclaredSeries> series;
    bool countsSamples = false;   ///< samples of one pixel are counted as channels
    bool areElsewhere = false;    ///< another file describes the pages
    std::uint64_t dimensions = 0; ///< of an array: those with several planes
    std::uint64_t unnamed = 0;    ///< those of them without a known meaning
    std::uint64_t total = 0;      ///< the number of pages, if it is declared itself; otherwise 0
    bool mayMoreFollow = false;   ///< later pages have declarations of their own

    /// Parses the first description that is in a known form, for pages of the given layout. Other descriptions, and
    /// the array shape of different pages, declare nothing: the result has no series. Throws XNotTimePointsError if
    /// OME-XML is damaged or has invalid values.
    static XImageDescription
    Parse( const std::vector<std::string>& inDescriptions, const WImageFile::Layout& inLayout );
};

/// The lines of ImageJ: "ImageJ=1.53t", "channels=2", ...
XImageDescription XParseImageJ( std::string_view inText, const WImageFile::Layout& inLayout );

/// OME-XML; without a value if it is other XML.
std::optional<XImageDescription> XParseOME( std::string_view inText );

/// The shape of an array: {"shape": [5, 2, 64, 64], "axes": "TCYX"}, or shape=(5, 64, 64) of older writers. Without
/// a value if it is not that of such pages.
std::optional<XImageDescription> XParseShape( std::string_view inText, const WImageFile::Layout& inLayout );

/// Without white space at the ends.
std::string_view XTrim( std::string_view inText );

/// A unit of length in micrometres, and of time in seconds; without a value if it is unknown.
std::optional<double> XGetMicrometres( std::string_view inUnit );
std::optional<double> XGetSeconds( std::string_view inUnit );
