#include "Tables/StructurePrinter.h"

#include "Core/Errors/XException.h"
#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"
#include "Tables/TableStream.h"

#include <iomanip>

// Prints what reading a table reports to the observer of its stream, so that the printed structure cannot
// differ from the format that is read. The length of an object is known only at its end, but belongs into its
// first line. Therefore the table is read twice: the first round collects the lengths in the order of the
// objects' beginnings, the second one prints. An object in which reading fails keeps the length -1, printed
// as "?".

StructurePrinter::StructurePrinter( XStream& ioStream, std::ostream& ioOut )
    : itsStream( ioStream ), itsOut( ioOut )
{
    itsStream.SetObserver( this );
}

StructurePrinter::~StructurePrinter()
{
    itsStream.SetObserver( nullptr );
}

std::string StructurePrinter::Print()
{
    // The first round finds out how long the objects are, the second one prints.
    itsOut << std::setw( 10 ) << "Offset" << std::setw( 12 ) << "Bytes"
           << "  Content\n";
    Read();
    itsIsPrinting = true;
    return Read();
}

std::string StructurePrinter::Read()
{
    itsStream.SeekTo( 0 );
    itsNextObject = 0;
    itsOpenObjects.clear();
    itsReason.clear();
    try
    {
        ReadTable( itsStream );
        PrintLine( itsFieldOffset, "", "End of the file" );
        return {};
    }
    catch ( const XException& exception )
    {
        const auto number = exception.GetErrorNumber();
        if ( itsReason.empty() && number != kErrorEndOfFile && number != kErrorStreamCorrupted )
            throw;
        return "at offset " + std::to_string( itsFaultOffset ) + ": " +
            ( itsReason.empty() ? "the file ends within " + itsField : itsReason );
    }
}

void StructurePrinter::BeginField( SSize64 inPosition, const std::string& inName )
{
    itsProgress.YieldAndCheckAbort();
    itsField = inName;
    itsFieldOffset = itsFaultOffset = inPosition;
    itsFieldOffsets[inName] = inPosition;
}

void StructurePrinter::EndField( SSize64 inEnd, const std::string& inText )
{
    PrintLine( itsFieldOffset, std::to_string( inEnd - itsFieldOffset ), inText );
}

void StructurePrinter::BeginObject( SSize64 inPosition, XVersion inVersion )
{
    const auto object = itsNextObject++;
    if ( !itsIsPrinting )
        itsObjectLengths.push_back( -1 );
    const auto length = itsObjectLengths[object];
    PrintLine(
        inPosition, length < 0 ? "?" : std::to_string( length ),
        "Object of " + XDescribeVersion( inVersion ) + ": " +
            ( XClassRegistry::IsRegistered( inVersion )
                  ? XQuoteStoredText( XClassRegistry::GetClassDescription( inVersion ) )
                  : "not known" ) );
    itsOpenObjects.emplace_back( object, inPosition );
}

void StructurePrinter::EndObject( SSize64 inEnd )
{
    const auto [object, offset] = itsOpenObjects.back();
    itsOpenObjects.pop_back();
    itsObjectLengths[object] = inEnd - offset;
}

void StructurePrinter::PrintLine( SSize64 inOffset, const std::string& inLength, const std::string& inText )
{
    if ( itsIsPrinting )
        itsOut << std::setw( 10 ) << inOffset << std::setw( 12 ) << inLength << "  "
               << std::string( itsOpenObjects.size() * 2, ' ' ) << inText << '\n';
}
