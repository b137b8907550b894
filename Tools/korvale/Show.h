#pragma once

#include "Command.h"

/// `korvale show`: prints a stored table.
class Show : public Command
{
public:
    CLI::App* Declare( CLI::App& ioProgram ) override;
    int Run( Terminal& ioTerminal ) override;

private:
    std::string itsTable;
    bool itsAsCSV = false;
    bool itsStructure = false;
};
