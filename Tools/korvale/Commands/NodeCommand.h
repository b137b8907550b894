#pragma once

#include "Commands/Command.h"
#include "Options/ProtectionOptions.h"

#include <string>

class XNetJobQueueNode;

/// `korvale node`: runs the jobs of a deployment.
class NodeCommand : public Command
{
public:
    const char* GetName() const override { return "node"; }
    const char* GetSummary() const override { return "Runs jobs that a control service assigns."; }
    void Declare( const CommandOptions& inOptions ) override;
    CommandFiles GetFiles() const override { return {}; }
    int Run( Session& ioSession ) override;

private:
    static constexpr double kNever = -1;

    std::string itsControl;
    std::string itsName;
    std::string itsMemory; // empty: the usual share
    std::uint32_t itsWorkers = 0;
    double itsIdleExit = kNever; // seconds
    ProtectionOptions itsProtection;

    void Work( XNetJobQueueNode& ioNode, Session& ioSession ) const;
};
