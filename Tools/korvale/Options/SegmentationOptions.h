#pragma once

#include "Imaging/Objects/XSegmentation.h"

#include <optional>
#include <string>
#include <string_view>

class CommandOptions;

/// The options that choose the pixels of objects: the channel, its preprocessing, the threshold, the
/// clean-up and the splitting.
class SegmentationOptions
{
public:
    /// The sections of the help text that explain the options.
    static const char* const kHelp;

    void Declare( const CommandOptions& inOptions );

    /// Without a channel that is given by name.
    XSegmentationSettings GetSettings() const;

    /// The channel, a name or a number such as C1.
    const std::string& GetChannel() const { return itsChannel; }

private:
    std::string itsChannel = "C1";
    std::string itsThreshold = "otsu";
    double itsScale = 1;
    XChannelFilters itsFilters;
    XMaskCleaning itsCleaning;
    std::string itsSplit;

    void DeclareFilters( const CommandOptions& inOptions );
    void DeclareCleaning( const CommandOptions& inOptions );
};
