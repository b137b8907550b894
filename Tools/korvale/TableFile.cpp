#include "TableFile.h"

#include "Core/XErrorNumbers.h"
#include "Core/XFileStream.h"
#include "Core/XMemStream.h"

void WriteTableFile( const XPivotTable& inTable, WFile& ioFile )
{
    // By way of memory, because a table goes back to fill in lengths and a file may be a device that cannot.
    XMemStream stream;
    stream.SetByteOrder( inTable.GetPreferredByteOrder() );
    stream.WriteStreamInfo();
    stream.WriteObject( inTable );
    ioFile.WriteAt( 0, stream.GetData(), stream.GetLength() );
}

std::unique_ptr<XPivotTable> ReadTableFile( const std::filesystem::path& inPath )
{
    XFileStream stream( inPath );
    stream.ReadStreamInfo();
    std::unique_ptr<XStorable> object( stream.ReadObject() );
    auto* const table = dynamic_cast<XPivotTable*>( object.get() );
    if ( !table || !stream.IsAtEOF() )
        XThrow( kErrorStreamCorrupted );
    object.release();
    return std::unique_ptr<XPivotTable>( table );
}
