#include "Outputs/CommandFiles.h"

#include "Files/WFile.h"
#include "Files/WFilePath.h"
#include "Services/XSessionLogManager.h"
#include "Support/FilePaths.h"
#include "Support/WrongUsage.h"

#include <map>

// Files are compared by WFilePath::GetKey, so two names of one file are recognised. A log that becomes too
// large is renamed, so the names of its older parts (LOG.1, LOG.2, …) must not be inputs or outputs either.

namespace
{
using NamesByKey = std::map<WFilePath::Key, std::string>;

void CheckOutputs( const CommandFiles& inFiles, const NamesByKey& inInputs, NamesByKey& outOutputs )
{
    for ( const auto& output : inFiles.outputs )
    {
        const auto key = WFilePath::GetKey( PathFromUTF8( output ) );
        if ( inInputs.contains( key ) )
            throw WrongUsage( output + " is an input of this command; it would be overwritten" );
        const auto [other, isNew] = outOutputs.emplace( key, output );
        if ( !isNew )
            throw WrongUsage( output + " is the same output file as " + other->second );
    }
}

void CheckLog( const std::string& inLog, const NamesByKey& inInputs, const NamesByKey& inOutputs )
{
    std::error_code error;
    if ( std::filesystem::is_character_file( PathFromUTF8( inLog ), error ) )
        return; // Nothing is overwritten on a terminal, and nothing is kept in /dev/null.
    if ( WFile::IsDevice( PathFromUTF8( inLog ) ) )
        throw WrongUsage( "the session log " + inLog + " is a pipe or device, not a file" );
    const auto oldFiles = XSessionLogManager::XOptions().oldFiles;
    for ( unsigned number = 0; number <= oldFiles; ++number )
    {
        const auto name = number > 0 ? inLog + '.' + std::to_string( number ) : inLog;
        const auto key = WFilePath::GetKey( PathFromUTF8( name ) );
        if ( inInputs.contains( key ) )
            throw WrongUsage(
                "the session log " + name + " is an input of this command; it would be overwritten" );
        if ( inOutputs.contains( key ) )
            throw WrongUsage( "the session log " + name + " is an output of this command" );
    }
}
} // namespace

void CheckCommandFiles( const CommandFiles& inFiles, const std::string& inLog )
{
    NamesByKey inputs, outputs;
    for ( const auto& input : inFiles.inputs )
        inputs.emplace( WFilePath::GetKey( PathFromUTF8( input ) ), input );
    CheckOutputs( inFiles, inputs, outputs );
    if ( !inLog.empty() )
        CheckLog( inLog, inputs, outputs );
}
