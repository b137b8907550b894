#pragma once

#include "Files/WReplaceFile.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A file to be written by a command: its name as UTF-8, and the function that writes it.
struct OutputFile
{
    std::string name;
    std::function<void( WFile& ioFile )> write;
};

/// A file that has been written completely but not renamed into place; otherwise it is removed.
struct CompleteFile
{
    std::string name;
    std::unique_ptr<WReplaceFile> file;
};

/// Throws for the first file that could not be created or replaced now, before work is spent on it. Here and
/// below, failures name the file.
void CheckOutputFiles( const std::vector<std::string>& inNames );

CompleteFile WriteCompleteFile( const OutputFile& inFile );

/// Renames all files into place, or none: after a failure or an interrupt, older files are unchanged. After a
/// failure the complete files are kept under other names, which the exception lists. Devices have already
/// been written.
void PutInPlace( std::vector<CompleteFile> inFiles );

/// Writes all files and renames them into place, together with those in `inComplete`. If one cannot be
/// written, or if `inEarlierFailure` is not empty, none is renamed, and the complete ones are kept as by
/// PutInPlace.
void WriteOutputFiles(
    const std::vector<OutputFile>& inFiles, std::vector<CompleteFile> inComplete = {},
    const std::string& inEarlierFailure = "" );

/// Runs work that writes a file or a folder. An exception, except an abort by the user, becomes a
/// runtime_error that names the output.
void WriteOutput( const std::string& inName, const std::function<void()>& inWork );

/// Checks for an interrupt for the last time (1001). Call it when all outputs are complete, under the same
/// lock of WPendingFiles as renaming them. Later interrupts have no effect on the result.
void CheckLastAbort();

/// True if the name has that ending, ignoring case.
bool HasEnding( const std::string& inName, const char* inEnding );
