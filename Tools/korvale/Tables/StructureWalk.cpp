#include "Tables/StructureWalk.h"

#include "Core/Errors/XException.h"
#include "Core/Identifiers/XUUID.h"
#include "Core/Streams/XClassRegistry.h"
#include "Core/Strings/XNumberText.h"
#include "Core/Times/XTime.h"
#include "Ground/XErrorNumbers.h"
#include "Pivot/Columns/XPivotColumn.h"
#include "Pivot/Tables/XPivotTable.h"
#include "Pivot/XPivotText.h"
#include "System/WCodePage.h"

#include <algorithm>
#include <iomanip>

namespace
{
std::string Quote( const XString& inText )
{
    constexpr std::size_t kMostBytes = 200; // A damaged length can make a text of the whole file.
    auto text = WCodePage::Windows1252ToUTF8( inText.GetStringView().substr( 0, kMostBytes ) );
    std::ranges::replace_if(
        text, []( char inByte ) { return static_cast<unsigned char>( inByte ) < ' '; }, ' ' );
    return '"' + text + ( inText.GetLength() > kMostBytes ? "..." : "" ) + '"';
}

std::string Describe( XVersion inVersion )
{
    return "class " + std::to_string( inVersion.GetClassID() ) + ", revision " +
        std::to_string( inVersion.GetClassRevision() );
}

std::string DescribeID( std::uint32_t inID )
{
    const auto id = static_cast<XPivotColumnID>( inID );
    try
    {
        return id == kPivotUserDefined ? "1 (user-defined)"
                                       : std::to_string( id ) + " " + Quote( XPivotColumn::GetIDName( id ) );
    }
    catch ( const XException& )
    {
        return std::to_string( id ) + " (not registered)";
    }
}

/// The bytes of a value, or 0 for texts, which have a length each.
std::uint32_t GetValueSize( std::uint32_t inClass )
{
    switch ( inClass )
    {
    case kClassPivotFloatColumn:
    case kClassPivotTimeColumn:
        return 8;
    case kClassPivotUUIDColumn:
    case kClassPivotRowRefColumn:
    case kClassPivotOtherRowRefColumn:
        return 16;
    case kClassPivotStringColumn:
        return 0;
    default:
        return 4;
    }
}

/// The first row from `inRow` on that is present, or that is missing.
std::size_t FindRow( const XVector<std::uint8_t>& inExists, std::size_t inRow, bool inIsPresent )
{
    const auto from = inExists.begin() + static_cast<std::ptrdiff_t>( std::min( inRow, inExists.size() ) );
    const auto found = std::find( from, inExists.end(), static_cast<std::uint8_t>( inIsPresent ) );
    return static_cast<std::size_t>( found - inExists.begin() );
}

/// Whether what follows is an object of a class that the reader keeps without knowing it.
bool IsOpaque( XStream& ioStream )
{
    const auto version = ioStream.PeekVersion();
    return !XClassRegistry::IsRegistered( version ) && version.GetClassID() != kClassNone;
}

std::string DescribeRows( std::size_t inFirst, std::size_t inCount )
{
    return std::to_string( inCount ) + " rows from row " + std::to_string( inFirst ) + " on";
}
} // namespace

std::string StructureWalk::Walk()
{
    // The first round finds out how long the objects are, the second one prints.
    itsOut << std::setw( 10 ) << "Offset" << std::setw( 12 ) << "Bytes"
           << "  Content\n";
    WalkOnce();
    itsIsPrinting = true;
    return WalkOnce();
}

std::string StructureWalk::WalkOnce()
{
    itsStream.SeekTo( 0 );
    itsDepth = 0;
    itsObject = 0;
    try
    {
        WalkFile();
        return {};
    }
    catch ( const Damage& damage )
    {
        return "at offset " + std::to_string( itsFieldOffset ) + ": " + damage.text;
    }
    catch ( const XException& exception )
    {
        if ( exception.GetErrorNumber() != kErrorEndOfFile &&
             exception.GetErrorNumber() != kErrorStreamCorrupted )
            throw;
        return "at offset " + std::to_string( itsFieldOffset ) + ": the file ends within " + itsField;
    }
}

void StructureWalk::WalkFile()
{
    WalkHeader();
    WalkTable();
    Begin( "the end of the file" );
    if ( !itsStream.IsAtEOF() )
        Refuse(
            "the table ends here, but the file has " + std::to_string( itsStream.GetRemaining() ) +
            " bytes more" );
    PrintLine( itsFieldOffset, "", "End of the file" );
}

void StructureWalk::WalkHeader()
{
    Begin( "the byte order mark" );
    const auto mark = itsStream.Read8();
    if ( mark != 'I' && mark != 'M' )
        Refuse(
            "the first byte is " + std::to_string( mark ) +
            ", neither I (73) nor M (77): this is no stream" );
    itsStream.SetByteOrder( mark == 'I' ? kIntelOrder : kMotorolaOrder );
    Print( mark == 'I' ? "Byte order I: Intel, low byte first" : "Byte order M: Motorola, high byte first" );

    Begin( "the version of the stream" );
    const auto version = itsStream.ReadVersion();
    const auto hasVersion = version.GetClassID() == kClassStream;
    itsIsOld = !hasVersion || version.GetClassRevision() < XStream::kCurrentStreamVersion.GetClassRevision();
    if ( hasVersion && version.GetClassRevision() > XStream::kCurrentStreamVersion.GetClassRevision() )
        Refuse(
            "the stream is of revision " + std::to_string( version.GetClassRevision() ) +
            ", which is too new" );
    if ( !hasVersion )
        itsStream.SeekTo( itsFieldOffset );
    Print( hasVersion ? "Stream: " + Describe( version ) : "Stream: an old one without a version" );
}

void StructureWalk::WalkTable()
{
    const auto version = ReadEnvelope( XPivotTable::GetClassVersion() );
    const auto object = BeginObject( version );
    ReadVersion( XPivotTable::GetClassVersion() );
    const auto count = ReadNumber( "Columns" );
    std::int64_t rows = -1;
    for ( std::uint32_t column = 0; column < count; ++column )
        WalkColumn( column, rows );
    EndObject( object );
}

void StructureWalk::WalkColumn( std::uint32_t inColumn, std::int64_t& ioRows )
{
    const auto name = "column " + std::to_string( inColumn );
    Begin( "the length of " + name );
    const auto length = itsStream.Read64();
    if ( length > static_cast<std::uint64_t>( itsStream.GetRemaining() ) )
        Refuse(
            name + " claims " + std::to_string( length ) + " bytes, but the file has " +
            std::to_string( itsStream.GetRemaining() ) + " more" );
    Print( "Length of " + name + ": " + std::to_string( length ) );

    const auto start = itsStream.GetPosition();
    Begin( "the version of an object" );
    const auto isOpaque = !itsIsOld && IsOpaque( itsStream );
    SSize64 rowsOffset = 0;
    const auto rows = isOpaque ? WalkOpaqueColumn( start + static_cast<SSize64>( length ), rowsOffset )
                               : WalkKnownColumn( ioRows, rowsOffset );
    if ( ioRows >= 0 && rows >= 0 && rows != ioRows )
    {
        itsFieldOffset = rowsOffset;
        Refuse(
            name + " has " + std::to_string( rows ) + " rows, the columns before it " +
            std::to_string( ioRows ) );
    }
    ioRows = rows >= 0 ? rows : ioRows;
    Begin( "the end of " + name );
    if ( static_cast<std::uint64_t>( itsFieldOffset - start ) != length )
        Refuse(
            name + " ends here after " + std::to_string( itsFieldOffset - start ) + " bytes, not " +
            std::to_string( length ) );
}

/// Returns the number of its rows.
std::int64_t StructureWalk::WalkKnownColumn( std::int64_t inRows, SSize64& outRowsOffset )
{
    const auto version = ReadEnvelope( XPivotColumn::GetClassVersion() );
    const auto object = BeginObject( version );
    XVector<std::uint8_t> exists;
    WalkColumnBase( exists );
    auto rows = static_cast<std::int64_t>( exists.size() );
    outRowsOffset = itsFieldOffset;
    ReadVersion( XVersion( version.GetClassID(), 0 ) );
    RowReferenceChecker references( version.GetClassID() == kClassPivotRowRefColumn ? exists.size() : 0 );
    if ( version.GetClassID() == kClassPivotUnknownColumn )
        WalkUnknownColumn( exists, inRows, rows );
    else
        WalkValues( version.GetClassID(), exists, references );
    if ( version.GetClassID() == kClassPivotRowRefColumn )
        WalkReferences( references );
    if ( version.GetClassID() == kClassPivotOtherRowRefColumn )
        WalkDescriptor();
    EndObject( object );
    return rows;
}

/// A column of a class that is not known begins as the others do. Returns the number of its rows, or -1 where it has as
/// many as the others.
std::int64_t StructureWalk::WalkOpaqueColumn( SSize64 inEnd, SSize64& outRowsOffset )
{
    const auto object = BeginObject( itsStream.ReadVersion() );
    XVector<std::uint8_t> exists;
    WalkColumnBase( exists );
    outRowsOffset = itsFieldOffset;
    Begin( "the fields of a class that is not known" );
    if ( itsFieldOffset > inEnd )
        Refuse( "the column is longer than it claims" );
    itsStream.Seek( inEnd - itsFieldOffset );
    Print( "Fields of a class that is not known" );
    EndObject( object );
    return exists.empty() ? -1 : static_cast<std::int64_t>( exists.size() );
}

void StructureWalk::WalkColumnBase( XVector<std::uint8_t>& outExists )
{
    ReadVersion( XPivotColumn::GetClassVersion() );
    WalkDescriptor();
    ReadNumber( "Revision" );
    ReadNumber( "Visibility options" );
    const auto rows = ReadNumber( "Rows" );

    Begin( "the exists flags" );
    if ( rows > static_cast<std::uint64_t>( itsStream.GetRemaining() ) )
        Refuse(
            std::to_string( rows ) + " exists flags are claimed, but the file has " +
            std::to_string( itsStream.GetRemaining() ) + " bytes more" );
    itsStream.ReadCounted( outExists, rows );
    const auto isBad = []( std::uint8_t inFlag ) { return inFlag > 1; };
    if ( const auto bad = std::ranges::find_if( outExists, isBad ); bad != outExists.end() )
    {
        itsFieldOffset += bad - outExists.begin();
        Refuse(
            "the exists flag of row " + std::to_string( bad - outExists.begin() ) + " is " +
            std::to_string( *bad ) + ", neither 0 nor 1" );
    }
    const auto present = std::ranges::count( outExists, std::uint8_t{ 1 } );
    Print(
        "Exists flags: " + std::to_string( present ) + " of " + std::to_string( rows ) +
        " rows have a value" );
}

void StructureWalk::WalkDescriptor()
{
    const auto object = BeginObject( ReadEnvelope( XPivotColumnDescriptor::GetClassVersion() ) );
    ReadVersion( XPivotColumnDescriptor::GetClassVersion() );
    Begin( "the column's ID" );
    Print( "ID: " + DescribeID( itsStream.Read32() ) );
    ReadText( "Name" );
    ReadText( "Channel" );
    ReadText( "Units" );
    EndObject( object );
}

void StructureWalk::WalkUnknownColumn(
    const XVector<std::uint8_t>& inExists, std::int64_t inRows, std::int64_t& outRows )
{
    outRows = ReadNumber( "Rows without values" );
    if ( !inExists.empty() && outRows != static_cast<std::int64_t>( inExists.size() ) )
        Refuse( "these are not as many rows as there are exists flags" );
    if ( inRows >= 0 && outRows != inRows )
        Refuse( "the columns before this one have " + std::to_string( inRows ) + " rows" );
}

void StructureWalk::WalkReferences( RowReferenceChecker& ioReferences )
{
    for ( auto left = ReadNumber( "References" ); left > 0; --left )
        WalkReference( ioReferences );
    Begin( "the next user-visible ID" );
    if ( const auto fault = ioReferences.CheckRows(); !fault.empty() )
        Refuse( "the references end, but " + fault );
    const auto next = ReadNumber( "Next user-visible ID" );
    if ( next == 0 )
        Refuse( "the next user-visible ID is 0" );
    if ( ioReferences.IsInUse( next ) )
        Refuse( "the next user-visible ID, " + std::to_string( next ) + ", is in use" );
}

void StructureWalk::WalkReference( RowReferenceChecker& ioReferences )
{
    Begin( "a reference" );
    XPivotRowRefColumn::XReference reference;
    reference.uuid = itsStream.ReadUUID();
    reference.count = itsStream.Read32();
    reference.userVisibleID = itsStream.Read32();
    reference.row = itsStream.Read32();
    if ( const auto fault = ioReferences.Add( reference ); !fault.empty() )
        Refuse( "a reference is wrong: " + fault );
    const auto isInRow = reference.row != XPivotRowRefColumn::kNoRow;
    Print(
        "Reference to " + XPivotText::ToUTF8( reference.uuid.UUIDToString() ) + ": user-visible ID " +
        std::to_string( reference.userVisibleID ) + ", references " + std::to_string( reference.count ) +
        ( isInRow ? ", row " + std::to_string( reference.row ) : ", no row" ) );
}

void StructureWalk::WalkValues(
    std::uint32_t inClass, const XVector<std::uint8_t>& inExists, RowReferenceChecker& ioReferences )
{
    Begin( "the default value" );
    const auto value = ReadValueText( inClass );
    Print( "Default value: " + value );

    std::size_t row = 0;
    for ( ;; )
    {
        Begin( "the length of a run" );
        if ( itsStream.Peek32() == 0 )
            break;
        WalkRun( inClass, inExists, ioReferences, row );
    }
    itsStream.Read32();
    row = FindRow( inExists, row, true );
    if ( row < inExists.size() )
        Refuse( "the runs end, but row " + std::to_string( row ) + " has no value yet" );
    Print( "End of the runs" );
}

void StructureWalk::WalkRun(
    std::uint32_t inClass, const XVector<std::uint8_t>& inExists, RowReferenceChecker& ioReferences,
    std::size_t& ioRow )
{
    const auto expectedFirst = FindRow( inExists, ioRow, true );
    const auto expectedEnd = FindRow( inExists, expectedFirst, false );
    const auto length = itsStream.Read32();
    const auto first = itsStream.Read32();
    if ( std::uint64_t{ first } + length > inExists.size() )
        Refuse(
            "a run of " + DescribeRows( first, length ) + " reaches beyond the " +
            std::to_string( inExists.size() ) + " rows" );
    if ( first != expectedFirst || length != expectedEnd - expectedFirst )
        Refuse( "a run of " + DescribeRows( first, length ) + " contradicts the exists flags" );
    Print( "Run: " + DescribeRows( first, length ) );

    Begin( "the values of a run" );
    if ( inClass == kClassPivotRowRefColumn )
        for ( std::uint32_t i = 0; i < length; ++i )
            ioReferences.SetRow( first + i, itsStream.ReadUUID() );
    else
        SkipValues( inClass, length );
    Print( std::to_string( length ) + " values" );
    ioRow = expectedEnd;
}

void StructureWalk::SkipValues( std::uint32_t inClass, std::uint32_t inCount )
{
    if ( const auto size = GetValueSize( inClass ) )
    {
        const auto bytes = std::uint64_t{ inCount } * size;
        if ( bytes > static_cast<std::uint64_t>( itsStream.GetRemaining() ) )
            Refuse( "the file ends within " + itsField );
        itsStream.Seek( static_cast<SSize64>( bytes ) );
        return;
    }
    XString text;
    const auto start = itsFieldOffset;
    for ( std::uint32_t i = 0; i < inCount; ++i )
    {
        itsFieldOffset = itsStream.GetPosition();
        itsStream.ReadString( text );
    }
    itsFieldOffset = start;
}

// Fields and objects

void StructureWalk::Begin( std::string inField )
{
    itsProgress.YieldAndCheckAbort();
    itsField = std::move( inField );
    itsFieldOffset = itsStream.GetPosition();
}

void StructureWalk::Print( const std::string& inText )
{
    PrintLine( itsFieldOffset, std::to_string( itsStream.GetPosition() - itsFieldOffset ), inText );
}

void StructureWalk::PrintLine( SSize64 inOffset, const std::string& inLength, const std::string& inText )
{
    if ( itsIsPrinting )
        itsOut << std::setw( 10 ) << inOffset << std::setw( 12 ) << inLength << "  "
               << std::string( itsDepth * 2, ' ' ) << inText << '\n';
}

void StructureWalk::Refuse( const std::string& inText ) const
{
    throw Damage{ inText };
}

/// The version in front of an object, which has to be of a class that is or descends from the one given.
XVersion StructureWalk::ReadEnvelope( XVersion inBase )
{
    Begin( "the version of an object" );
    const auto version = itsStream.ReadVersion();
    if ( !XClassRegistry::IsRegistered( version ) )
        Refuse( Describe( version ) + " is not known" );
    if ( !XClassRegistry::IsA( version, inBase ) || version.GetClassID() == kClassPivotColumn )
        Refuse( "an object of " + Describe( version ) + " has no place here" );
    if ( version.GetClassRevision() > 0 )
        Refuse( Describe( version ) + " is too new" );
    return version;
}

std::size_t StructureWalk::BeginObject( XVersion inVersion )
{
    if ( itsObject == itsLengths.size() )
        itsLengths.push_back( -1 );
    const auto object = itsObject++;
    const auto length = itsLengths[object];
    PrintLine(
        itsFieldOffset, length < 0 ? "?" : std::to_string( length ),
        "Object of " + Describe( inVersion ) + ": " +
            ( XClassRegistry::IsRegistered( inVersion )
                  ? Quote( XClassRegistry::GetClassDescription( inVersion ) )
                  : "not known" ) );
    if ( !itsIsPrinting )
        itsLengths[object] = -1 - itsFieldOffset;
    ++itsDepth;
    return object;
}

void StructureWalk::EndObject( std::size_t inObject )
{
    --itsDepth;
    if ( !itsIsPrinting )
        itsLengths[inObject] += itsStream.GetPosition() + 1;
}

/// The version in front of the fields of a class.
void StructureWalk::ReadVersion( XVersion inExpected )
{
    Begin( "a version" );
    const auto version = itsStream.ReadVersion();
    const auto isRight = XClassRegistry::IsA( version, inExpected );
    if ( !isRight && itsIsOld )
        return itsStream.SeekTo( itsFieldOffset );
    if ( !isRight )
        Refuse( Describe( version ) + " stands where " + Describe( inExpected ) + " is expected" );
    if ( version.GetClassRevision() > inExpected.GetClassRevision() )
        Refuse( Describe( version ) + " is too new" );
    Print( "Version: " + Describe( version ) );
}

std::uint32_t StructureWalk::ReadNumber( const char* inField )
{
    Begin( std::string( "the field \"" ) + inField + '"' );
    const auto number = itsStream.Read32();
    Print( std::string( inField ) + ": " + std::to_string( number ) );
    return number;
}

XString StructureWalk::ReadText( const char* inField )
{
    Begin( std::string( "the field \"" ) + inField + '"' );
    const auto text = itsStream.ReadString();
    Print( std::string( inField ) + ": " + Quote( text ) );
    return text;
}

std::string StructureWalk::ReadValueText( std::uint32_t inClass )
{
    std::string text;
    switch ( inClass )
    {
    case kClassPivotStringColumn:
        return Quote( itsStream.ReadString() );
    case kClassPivotFloatColumn:
        XAppendNumber( text, itsStream.ReadFloat64S() );
        return text;
    case kClassPivotSInt32Column:
        return std::to_string( itsStream.Read32S() );
    case kClassPivotTimeColumn:
        return std::to_string( itsStream.Read64S() ) + " microseconds";
    case kClassPivotUUIDColumn:
    case kClassPivotRowRefColumn:
    case kClassPivotOtherRowRefColumn:
        return XPivotText::ToUTF8( itsStream.ReadUUID().UUIDToString() );
    case kClassPivotVersionColumn:
        return Describe( itsStream.ReadVersion() );
    default:
        return std::to_string( itsStream.Read32() );
    }
}
