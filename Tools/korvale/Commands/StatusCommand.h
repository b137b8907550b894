#pragma once

#include "Commands/Command.h"
#include "Options/ProtectionOptions.h"

#include <string>

/// `korvale status`: prints the state of a control service.
class StatusCommand : public Command
{
public:
    const char* GetName() const override { return "status"; }
    const char* GetSummary() const override { return "Prints the nodes and jobs of a control service."; }
    void Declare( const CommandOptions& inOptions ) override;
    CommandFiles GetFiles() const override { return {}; }
    int Run( Session& ioSession ) override;

private:
    std::string itsPlace;
    bool itsIsJSON = false;
    ProtectionOptions itsProtection;
};
