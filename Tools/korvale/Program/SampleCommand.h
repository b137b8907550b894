#pragma once

#include "Imaging/SyntheticStack.h"
#include "Outputs/OutputFiles.h"
#include "Program/Command.h"

/// `korvale sample`: writes a stack of images whose objects are known, and what was drawn.
class SampleCommand : public Command
{
public:
    const char* GetName() const override { return "sample"; }
    const char* GetSummary() const override
    {
        return "Writes a stack of images with known objects: DIR/sample.tif and DIR/truth.csv.";
    }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;
    CommandFiles GetFiles() const override;
    int Run( Session& ioSession ) override;

private:
    std::string itsFolder;
    SampleSettings itsSettings;
    bool itsIsQuiet = false;

    std::string GetName( const char* inFile ) const;
    void WriteFiles( const std::filesystem::path& inFolder ) const;
    void DrawPlanes( const CompleteFile& ioImage, const CompleteFile& ioTruth ) const;
};
