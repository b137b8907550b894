#pragma once

#include "Commands/Command.h"
#include "Options/ProtectionOptions.h"

#include <string>
#include <vector>

class XRPCBridge;

/// `korvale ping`: measures the round trips to a control service.
class PingCommand : public Command
{
public:
    const char* GetName() const override { return "ping"; }
    const char* GetSummary() const override { return "Measures the round trips to a control service."; }
    void Declare( const CommandOptions& inOptions ) override;
    CommandFiles GetFiles() const override { return {}; }
    int Run( Session& ioSession ) override;

private:
    std::string itsPlace;
    bool itsIsPlain = false;
    std::uint32_t itsCount = 10;
    ProtectionOptions itsProtection;

    void Ping( XRPCBridge& ioBridge, Session& ioSession ) const;
    std::vector<double> MeasureCalls( XRPCBridge& ioBridge ) const;
};
