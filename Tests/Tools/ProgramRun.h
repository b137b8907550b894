#pragma once

#include "Imaging/Writing/XTIFFWriter.h"
#include "Program/Program.h"
#include "Support/FilePaths.h"
#include "TestFolder.h"

#include <filesystem>
#include <fstream>
#include <map>

/// Runs the program as the command line does and keeps what it says.
struct ProgramRun : testing::Test
{
    TestFolder itsFolder;
    std::ostringstream itsOut;
    std::ostringstream itsError;

    int Run( const std::vector<std::string>& inArguments )
    {
        itsOut.str( "" );
        itsError.str( "" );
        Terminal terminal{ itsOut, itsError };
        return RunProgram( inArguments, terminal );
    }

    /// Runs the program with the words of a line: `@name` stands for a file of the folder, `''` for an empty word, and each
    /// `%` for the next of the words that follow, or for the last one again.
    template<class... TWords>
    int RunLine( const std::string& inLine, const TWords&... inWords )
    {
        const std::vector<std::string> others{ inWords... };
        std::vector<std::string> arguments = Split( inLine, ' ' );
        std::erase( arguments, "" );
        std::size_t next = 0;
        for ( std::string& word : arguments )
            if ( word == "%" )
                word = others.at( std::min( next++, others.size() - 1 ) );
            else if ( word[0] == '@' )
                word = Name( word.substr( 1 ) );
            else if ( word == "''" )
                word.clear();
        return Run( arguments );
    }

    std::string Name( const std::string& inName ) const { return PathToUTF8( itsFolder / inName ); }

    /// The bytes of the files whose names begin so, in the order of their names.
    std::string ReadFiles( const std::string& inPrefix ) const
    {
        std::map<std::string, std::string> files;
        for ( const auto& entry : std::filesystem::directory_iterator( itsFolder.GetPath() ) )
            if ( const auto name = PathToUTF8( entry.path().filename() ); name.starts_with( inPrefix ) )
            {
                std::ifstream file( entry.path(), std::ios::binary );
                files[name.substr( inPrefix.size() )] = { std::istreambuf_iterator<char>( file ), {} };
            }
        std::string text;
        for ( const auto& [name, bytes] : files )
            text += name + '\n' + bytes;
        return text;
    }

    /// Removes the results that could not be put into place.
    void RemoveNew() const
    {
        std::vector<std::filesystem::path> paths;
        for ( const auto& entry : std::filesystem::directory_iterator( itsFolder.GetPath() ) )
            if ( entry.path().extension() == ".new" )
                paths.push_back( entry.path() );
        for ( const auto& path : paths )
            std::filesystem::remove( path );
    }

    std::string WritePages( const std::string& inName, const std::vector<WImagePage>& inPages )
    {
        std::vector<const WImagePage*> pages;
        for ( const WImagePage& page : inPages )
            pages.push_back( &page );
        return WriteStack( inName, pages );
    }
    std::string WriteStack( const std::string& inName, const std::vector<const WImagePage*>& inPages )
    {
        const auto path = itsFolder / inName;
        std::filesystem::create_directories( path.parent_path() );
        WFile file( path, WFile::kCreate );
        XTIFFWriter writer( file );
        for ( const auto* page : inPages )
            writer.WritePage( *page );
        return Name( inName );
    }
};
