#include "OutputFiles.h"

#include "Command.h"
#include "Core/XString.h"
#include "WUnfinishedFiles.h"

CompleteFile WriteCompleteFile( const OutputFile& inFile )
{
    CompleteFile complete{ inFile.name, nullptr };
    WriteOutput(
        inFile.name,
        [&]
        {
            complete.file = std::make_unique<WReplaceFile>( PathFromUTF8( inFile.name ) );
            inFile.write( complete.file->GetFile() );
            complete.file->Complete();
        } );
    return complete;
}

void WriteOutputFiles( const std::vector<OutputFile>& inFiles, std::vector<CompleteFile> inComplete )
{
    for ( const auto& output : inFiles )
        inComplete.push_back( WriteCompleteFile( output ) );
    if ( inComplete.empty() )
        return;
    const auto hold = WUnfinishedFiles::Hold();
    CheckLastAbort();
    for ( const auto& complete : inComplete )
        WriteOutput( complete.name, [&] { complete.file->Commit(); } );
}

bool IsSameFile( const std::string& inOne, const std::string& inOther )
{
    std::error_code error;
    const auto one = PathFromUTF8( inOne ), other = PathFromUTF8( inOther );
    return std::filesystem::equivalent( one, other, error ) ||
        std::filesystem::weakly_canonical( one, error ) == std::filesystem::weakly_canonical( other, error );
}

bool HasEnding( const std::string& inName, const char* inEnding )
{
    return XString( inName ).CaselessEndsWith( inEnding );
}
