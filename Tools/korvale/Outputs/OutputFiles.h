#pragma once

#include "Files/WReplaceFile.h"

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

/// Throws for the first of the files that could not be made or replaced now, before much work is spent on it. Failures
/// name the file, here and below.
void CheckOutputFiles( const std::vector<std::string>& inNames );

CompleteFile WriteCompleteFile( const OutputFile& inFile );

/// Has all files take their places, or none: after a failure, or an interrupt, older files are as they were. The complete
/// files are kept under names of their own after a failure, which the exception names. Devices are written already.
void PutInPlace( std::vector<CompleteFile> inFiles );

/// Writes all of them and puts them in their places, together with those that are complete already. Where one cannot be
/// written, or something went wrong before, none takes its place: the others are kept as PutInPlace keeps them.
void WriteOutputFiles(
    const std::vector<OutputFile>& inFiles, std::vector<CompleteFile> inComplete = {},
    const std::string& inEarlierFailure = "" );

/// Does work that writes a file or a folder. What it throws, but for the user's abort, becomes a runtime_error that names
/// what was to be written.
void WriteOutput( const std::string& inName, const std::function<void()>& inWork );

/// To be called when all that a command writes is complete, in one hold of WPendingFiles with its finishing: obeys an
/// interrupt for the last time (1001). Later ones find the work done.
void CheckLastAbort();

/// True when the name ends so, in small letters or capitals.
bool HasEnding( const std::string& inName, const char* inEnding );
