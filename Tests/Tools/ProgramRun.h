#pragma once

#include "Imaging/XTIFFWriter.h"
#include "Program/Program.h"
#include "Support/FilePaths.h"
#include "TestFolder.h"

#include <sstream>

/// Runs the program as the command line does and keeps what it says.
class ProgramRun : public testing::Test
{
protected:
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

    std::string Name( const std::string& inName ) const { return PathToUTF8( itsFolder / inName ); }

    std::string WriteStack( const std::string& inName, const std::vector<const WImagePage*>& inPages )
    {
        WFile file( itsFolder / inName, WFile::kCreate );
        XTIFFWriter writer( file );
        for ( const auto* page : inPages )
            writer.WritePage( *page );
        return Name( inName );
    }
};
