#include "Commands/ExportCommand.h"

#include "Commands/Command.h"
#include "Options/CommandLine.h"
#include "Options/OptionChecks.h"
#include "Options/TableOutputs.h"
#include "Support/WrongUsage.h"
#include "Tables/NumpyArchive.h"

void ExportCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain( "Formats\n"
                       "  CSV is UTF-8 with a header line; missing values are empty.\n"
                       "  NPZ files open with numpy.load. Each column has an array of its name,\n"
                       "  \"Area (µm²)\", and a boolean one, \"Area (µm²).mask\", true where the value is\n"
                       "  missing: numpy.ma.array( values, mask=mask ). Numbers are float64, int32 or\n"
                       "  uint32, texts and identifiers fixed-width text, times datetime64[us]; missing\n"
                       "  values are nan, 0, '' and NaT. Columns of objects (ID, Parent ID) are written\n"
                       "  as numbers, and their identifiers as \"ID.uuid\". Slashes in names become _;\n"
                       "  columns with the same name are numbered: \"Area 2\".\n"
                       "\n"
                       "Example\n"
                       "  korvale export cells.table --npz cells.npz\n"
                       "\n"
                       "Exit status: 0, 1 after a failure or for a table without rows, 2 for\n"
                       "wrong usage, 130 when interrupted." );
    DeclareTable( inOptions );
    inOptions.Add( "--csv", itsCSV, "CSV file to write" ).Takes( "FILE" ).Check( CheckFileName );
    inOptions.Add( "--npz", itsNPZ, "NPZ file to write, for numpy" ).Takes( "FILE" ).Check( CheckFileName );
}

void ExportCommand::Check() const
{
    if ( itsCSV.empty() && itsNPZ.empty() )
        throw WrongUsage( "one of --csv and --npz is required" );
}

std::vector<std::string> ExportCommand::GetOutputNames() const
{
    std::vector<std::string> names{ itsCSV, itsNPZ };
    std::erase( names, "" );
    return names;
}

int ExportCommand::RunOnTable( XPivotTable& ioTable, Session& )
{
    std::vector<OutputFile> files;
    if ( !itsCSV.empty() )
        files.push_back( MakeCSVOutput( itsCSV, ioTable, WorkerLimit( 0 ) ) );
    if ( !itsNPZ.empty() )
        files.push_back( { itsNPZ, [&]( WFile& ioFile ) { WriteNumpyArchive( ioTable, ioFile ); } } );
    WriteOutputFiles( files );
    return kSuccess;
}
