#pragma once

#include "Commands/Command.h"
#include "Options/ImageNames.h"

#include <string>
#include <vector>

/// `korvale info`: prints the structure of images.
class InfoCommand : public Command
{
public:
    const char* GetName() const override { return "info"; }
    const char* GetSummary() const override { return "Prints the structure of images."; }
    void Declare( const CommandOptions& inOptions ) override;
    CommandFiles GetFiles() const override { return { itsImages.Get(), {} }; }
    int Run( Session& ioSession ) override;

private:
    ImageNames itsImages;
    bool itsIsJSON = false;
};
