#pragma once

#include "Commands/Command.h"
#include "Imaging/Writing/XSyntheticStack.h"
#include "Outputs/OutputFiles.h"

/// `korvale sample`: writes a synthetic stack and its ground truth, DIR/sample.tif and DIR/truth.csv.
class SampleCommand : public Command
{
public:
    const char* GetName() const override { return "sample"; }
    const char* GetSummary() const override { return "Writes a synthetic stack and its ground truth."; }
    void Declare( const CommandOptions& inOptions ) override;
    void Check() const override;
    CommandFiles GetFiles() const override;
    int Run( Session& ioSession ) override;

private:
    std::string itsFolder;
    XSyntheticStackSettings itsSettings;
    bool itsIsQuiet = false;

    std::string GetName( const char* inFile ) const;
    void WriteFiles( const std::filesystem::path& inFolder ) const;
    void DrawPlanes( const CompleteFile& ioImage, const CompleteFile& ioTruth ) const;
};
