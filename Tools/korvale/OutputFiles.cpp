#include "OutputFiles.h"

#include "Command.h"
#include "WReplaceFile.h"
#include "WUnfinishedFiles.h"

#include <deque>

void WriteOutputFiles( const std::vector<OutputFile>& inFiles )
{
    std::deque<WReplaceFile> written;
    for ( const auto& output : inFiles )
        WriteOutput(
            output.name,
            [&]
            {
                auto& file = written.emplace_back( PathFromUTF8( output.name ) );
                output.write( file.GetFile() );
                file.Complete();
            } );
    if ( written.empty() )
        return;
    const auto hold = WUnfinishedFiles::Hold();
    CheckLastAbort();
    for ( std::size_t i = 0; i < written.size(); ++i )
        WriteOutput( inFiles[i].name, [&] { written[i].Commit(); } );
}

bool IsSameFile( const std::string& inOne, const std::string& inOther )
{
    std::error_code error;
    const auto one = PathFromUTF8( inOne ), other = PathFromUTF8( inOther );
    return std::filesystem::equivalent( one, other, error ) ||
        std::filesystem::weakly_canonical( one, error ) == std::filesystem::weakly_canonical( other, error );
}
