#pragma once

#include "Imaging/XImageReader.h"

#include <optional>
#include <string>
#include <string_view>

class CommandOptions;

/// The options that say how images are read: their pixel size and the part of them that is measured.
class ReadingOptions
{
public:
    /// The sections of the help text that explain the options.
    static const char* const kHelp;

    void Declare( const CommandOptions& inOptions );

    XImageReadSettings GetSettings() const;

private:
    std::string itsPixelSize; // empty: the pixel size of the images
    bool itsArePlanesTimes = false;
    std::string itsSeries; // empty: all
    std::string itsTimes;  // empty: all
    std::string itsSlices = "each";
};

/// The index of a channel such as C1; without a value for names of other forms.
std::optional<std::uint32_t> ParseChannel( std::string_view inText );

/// Checks a channel, which is a name or a number such as C1; returns the error, empty if there is none.
std::string CheckChannel( const std::string& inText );
