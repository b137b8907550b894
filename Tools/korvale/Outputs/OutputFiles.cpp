#include "Outputs/OutputFiles.h"

#include "Core/Strings/XString.h"
#include "Files/WPendingFiles.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Process/WInterrupt.h"
#include "Support/Failure.h"
#include "Support/FilePaths.h"

#include <stdexcept>

// The outputs of a command appear together or not at all, in three steps:
// - Each file is written completely under a temporary name (WriteCompleteFile). Failures until here leave the
//   targets unchanged.
// - A last check for an interrupt. From then on interrupts have no effect, so a result is never half in place
//   because of one.
// - The old files, if there are several outputs, are put aside, and the new ones renamed into place
//   (CommitAll). A failure undoes the renames in all files and gives the complete results other names
//   (KeepAll), so that hours of work are not lost to a full or read-only disk.
//
// WPendingFiles::Hold spans the last two steps: the handler of an interrupt removes pending files, and must
// not do so between two renames.

namespace
{
void CommitAll( const std::vector<CompleteFile>& inFiles )
{
    // A single rename replaces its target atomically: there is nothing to undo.
    if ( inFiles.size() > 1 )
        for ( const CompleteFile& complete : inFiles )
            WriteOutput( complete.name, [&] { complete.file->KeepOld(); } );
    for ( const CompleteFile& complete : inFiles )
        WriteOutput( complete.name, [&] { complete.file->Commit(); } );
}

/// Gives the files other names, and returns these for a sentence.
std::string KeepAll( const std::vector<CompleteFile>& inFiles )
{
    constexpr std::size_t kMostNames = 5;
    std::vector<std::string> keptNames;
    std::size_t lost = 0;
    for ( const auto& [name, file] : inFiles )
        try
        {
            if ( !file->IsDirect() )
                keptNames.push_back( PathToUTF8( file->KeepNew() ) );
        }
        catch ( ... )
        {
            ++lost;
        }
    std::string text;
    for ( std::size_t i = 0; i < keptNames.size() && i < kMostNames; ++i )
        text += ( i > 0 ? ", " : "; the result is kept as " ) + keptNames[i];
    if ( keptNames.size() > kMostNames )
        text += " and " + std::to_string( keptNames.size() - kMostNames ) + " more files";
    if ( lost > 0 )
        text += "; " + std::to_string( lost ) + " files could not be kept";
    return text;
}
} // namespace

void WriteOutput( const std::string& inName, const std::function<void()>& inWork )
{
    try
    {
        inWork();
    }
    catch ( ... )
    {
        const auto failure = DescribeCurrentException();
        if ( failure.IsUserAbort() )
            throw;
        throw std::runtime_error( "cannot write " + inName + ": " + failure.text );
    }
}

void CheckLastAbort()
{
    if ( WInterrupt::IsRequested() )
        XThrow( kErrorCancelled );
    WInterrupt::DisableAbort();
}

void CheckOutputFiles( const std::vector<std::string>& inNames )
{
    for ( const auto& name : inNames )
        WriteOutput( name, [&] { WReplaceFile::CheckTarget( PathFromUTF8( name ) ); } );
}

CompleteFile WriteCompleteFile( const OutputFile& inFile )
{
    CompleteFile complete{ inFile.name, nullptr };
    WriteOutput(
        inFile.name,
        [&]
        {
            complete.file =
                std::make_unique<WReplaceFile>( PathFromUTF8( inFile.name ), WReplaceFile::kCheckAtCommit );
            inFile.write( complete.file->GetFile() );
            complete.file->Complete();
        } );
    return complete;
}

void PutInPlace( std::vector<CompleteFile> inFiles )
{
    if ( inFiles.empty() )
        return;
    const auto hold = WPendingFiles::Hold();
    CheckLastAbort();
    try
    {
        CommitAll( inFiles );
    }
    catch ( ... )
    {
        for ( const auto& complete : inFiles )
            complete.file->Undo();
        const auto failure = DescribeCurrentException();
        if ( failure.IsUserAbort() )
            throw;
        throw std::runtime_error( failure.text + KeepAll( inFiles ) );
    }
    inFiles.clear(); // While they are held.
}

void WriteOutputFiles(
    const std::vector<OutputFile>& inFiles, std::vector<CompleteFile> inComplete,
    const std::string& inEarlierFailure )
{
    auto failures = inEarlierFailure;
    for ( const auto& output : inFiles )
        try
        {
            inComplete.push_back( WriteCompleteFile( output ) );
        }
        catch ( const std::runtime_error& failure )
        {
            failures += ( failures.empty() ? "" : "; " ) + std::string( failure.what() );
        }
    if ( !failures.empty() )
        throw std::runtime_error( failures + KeepAll( inComplete ) );
    PutInPlace( std::move( inComplete ) );
}

bool HasEnding( const std::string& inName, const char* inEnding )
{
    return XString( inName ).CaselessEndsWith( inEnding );
}
