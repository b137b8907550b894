// Reads a stream's header and then objects of every class of the library, and of a nested one of its own. What can be
// read must be written and read again to the same bytes; what cannot must fail with a documented number.

#include "FuzzTools.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStreamVectors.h"

#include <set>

namespace
{
/// An object with one of everything: a base's number, nested objects, texts and values.
class XFuzzNode : public XStorable
{
public:
    static XVersion GetClassVersion() { return { 64000, 1 }; }
    static XVersion GetSuperClassVersion() { return 0; }

    XVersion GetVersion() const override { return GetClassVersion(); }
    XFuzzNode* Clone() const override { return nullptr; }
    USize64 GetStreamUsage() const override { return 0; }

    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        inStream.WriteVersion( GetClassVersion() );
        inStream.WriteObject( itsFirst.get(), inOptions );
        inStream.WriteObject( itsSecond.get(), inOptions );
        inStream.WriteString( itsName );
        XWriteVector( inStream, itsNumbers );
        XWriteVector( inStream, itsTexts, inOptions );
    }

    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        ReadCheckedVersion( inStream, GetClassVersion() );
        itsFirst.reset( inStream.ReadObject( inOptions ) );
        itsSecond.reset( inStream.ReadObject( inOptions ) );
        inStream.ReadString( itsName );
        XReadVector( inStream, itsNumbers );
        XReadVector( inStream, itsTexts, inOptions );
    }

private:
    std::unique_ptr<XStorable> itsFirst;
    std::unique_ptr<XStorable> itsSecond;
    XString itsName;
    XVector<std::uint16_t> itsNumbers;
    XVector<XString> itsTexts;
};

void ReadObjects( XStream& ioStream )
{
    ioStream.ReadStreamInfo();
    while ( !ioStream.IsAtEOF() )
    {
        if ( const std::unique_ptr<XStorable> object( ioStream.ReadObject() ); object )
            RequireRoundTrip( *object );
    }
}

bool RegisterNode()
{
    XClassRegistry::RegisterClass<XFuzzNode>( "Node" );
    return true;
}

/// Columns report runs beyond their rows as internal errors; nothing else may.
bool IsExpected( const XException& inError )
{
    static const std::set<std::uint32_t> sNumbers = { 1003, 1004, 1005, 1013, 1015, 1260 };
    const auto* internal = dynamic_cast<const XInternalException*>( &inError );
    return internal ? internal->GetExpression().Contains( "itsColumnData.size()" )
                    : sNumbers.contains( inError.GetErrorNumber() );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    static const bool sIsRegistered = RegisterNode();
    XMemStream stream( inData, inSize );
    try
    {
        ReadObjects( stream );
    }
    catch ( const XException& error )
    {
        Require( IsExpected( error ) );
    }
    return sIsRegistered ? 0 : -1;
}
