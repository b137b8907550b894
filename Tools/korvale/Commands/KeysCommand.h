#pragma once

#include "Commands/Command.h"

#include <string>

/// `korvale keys`: creates the folder with the secrets of a new deployment.
class KeysCommand : public Command
{
public:
    const char* GetName() const override { return "keys"; }
    const char* GetSummary() const override { return "Creates the keys of a new deployment."; }
    void Declare( const CommandOptions& inOptions ) override;
    CommandFiles GetFiles() const override;
    int Run( Session& ioSession ) override;

private:
    std::string itsFolder;
    bool itsIsQuiet = false;
};
