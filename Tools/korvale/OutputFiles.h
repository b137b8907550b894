#pragma once

#include "WFile.h"

#include <functional>
#include <string>
#include <vector>

/// A file that a command writes: its name as UTF-8, and who fills it.
struct OutputFile
{
    std::string name;
    std::function<void( WFile& ioFile )> write;
};

/// Writes all of them, and lets none take its place before all are complete: after a failure, or an interrupt, older
/// files are as they were. Failures name the file.
void WriteOutputFiles( const std::vector<OutputFile>& inFiles );

/// True when both names are of one file, which need not exist.
bool IsSameFile( const std::string& inOne, const std::string& inOther );
