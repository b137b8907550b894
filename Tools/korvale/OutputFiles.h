#pragma once

#include "WReplaceFile.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A file that a command writes: its name as UTF-8, and who fills it.
struct OutputFile
{
    std::string name;
    std::function<void( WFile& ioFile )> write;
};

/// A file that is written in full and has not taken its place; without that it leaves nothing behind.
struct CompleteFile
{
    std::string name;
    std::unique_ptr<WReplaceFile> file;
};

/// Failures name the file, here and below.
CompleteFile WriteCompleteFile( const OutputFile& inFile );

/// Writes all of them, and lets none take its place before all are complete, nor those that are so already: after a
/// failure, or an interrupt, older files are as they were.
void WriteOutputFiles( const std::vector<OutputFile>& inFiles, std::vector<CompleteFile> inComplete = {} );

/// True when both names are of one file, which need not exist.
bool IsSameFile( const std::string& inOne, const std::string& inOther );

/// True when the name ends so, in small letters or capitals.
bool HasEnding( const std::string& inName, const char* inEnding );
