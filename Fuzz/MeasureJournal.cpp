// A journal of finished pages. The first byte selects what the others are: the whole file, or the contents of a record, which
// gets its length and its checksum here, after a header and an image.

#include "FuzzTools.h"

#include "Measuring/JournalRecords.h"
#include "Measuring/MeasurePageJob.h"
#include "Support/Checksum.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    using namespace JournalRecords;
    PrepareCore();
    MeasurePageJob::Register();
    if ( inSize == 0 )
        return 0;
    const Conditions conditions{ { "version", "1" }, { "reading", "" } };
    const auto journal = MakeStream();
    const bool isRecord = inData[0] != 0;
    if ( isRecord )
    {
        WriteHeader( *journal, conditions );
        WriteImage( *journal, { { "/image", 1, 2, 3 } } );
        journal->Write64( inSize - 1 );
        journal->Write64( AddToChecksum( kEmptyChecksum, inData + 1, inSize - 1 ) );
    }
    journal->WriteBuffer8( inData + 1, inSize - 1 );
    journal->SeekTo( 0 );
    try
    {
        const Contents contents = Read( *journal, conditions );
        Require( contents.end <= journal->GetLength() );
        for ( const auto& [key, image] : contents.images )
        {
            Require( !image.files.empty() );
            for ( const auto& [page, place] : image.pages )
                Require( place.position + place.size <= contents.end );
        }
    }
    catch ( const XException& )
    {
        throw;
    }
    catch ( const std::runtime_error& )
    {
        Require( !isRecord ); // It is no journal.
    }
    return 0;
}
