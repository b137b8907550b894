#pragma once

#include "Imaging/XSegmentation.h"

#include <optional>
#include <string>
#include <string_view>

class CommandOptions;

/// The options that choose the pixels of objects: the channel, its preprocessing, the threshold and the
/// clean-up.
class SegmentationOptions
{
public:
    /// The sections of the help text that explain the options.
    static const char* const kHelp;

    void Declare( const CommandOptions& inOptions );

    XSegmentationSettings GetSettings() const;

private:
    std::string itsChannel = "C1";
    std::string itsThreshold = "otsu";
    double itsScale = 1;
    XChannelFilters itsFilters;
    XMaskCleaning itsCleaning;

    void DeclareFilters( const CommandOptions& inOptions );
    void DeclareCleaning( const CommandOptions& inOptions );
};

/// The index of a channel name such as C1.
std::optional<std::uint32_t> ParseChannel( std::string_view inText );

/// Checks the name of a channel; returns the error, empty if there is none.
std::string CheckChannel( const std::string& inText );
