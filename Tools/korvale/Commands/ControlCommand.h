#pragma once

#include "Commands/Command.h"
#include "Options/ProtectionOptions.h"

#include <string>

/// `korvale control`: runs the control service.
class ControlCommand : public Command
{
public:
    const char* GetName() const override { return "control"; }
    const char* GetSummary() const override { return "Runs the control service of a deployment."; }
    void Declare( const CommandOptions& inOptions ) override;
    CommandFiles GetFiles() const override { return {}; }
    int Run( Session& ioSession ) override;

private:
    static constexpr std::uint32_t kNoPort = 0xFFFFFFFF;

    std::string itsListen = "127.0.0.1:7610";
    std::string itsHTTP;                  // empty: no status page
    std::uint32_t itsPlainPort = kNoPort; // for plain bridges
    ProtectionOptions itsProtection;
};
