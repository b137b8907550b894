#include "NetJobs/XNetJobCompletedMessage.h"

#include "Core/Streams/XMemStream.h"

#include <cstring>
#include <typeinfo>

namespace
{

bool AreEqual( const XNetJobResult& inLeft, const XNetJobResult& inRight )
{
    XMemStream left;
    XMemStream right;
    left.WriteObject( inLeft );
    right.WriteObject( inRight );
    return left.GetLength() == right.GetLength() &&
        std::memcmp( left.GetData(), right.GetData(), left.GetLength() ) == 0;
}

} // namespace

XNetJobCompletedMessage::XNetJobCompletedMessage()
    : XNetJobCompletedMessage( nullptr, 0, 0, XTime( 0 ), XNetJobResult() )
{
}

XNetJobCompletedMessage::XNetJobCompletedMessage(
    XSpeaker* inSpeaker, std::uint32_t inMessageID, std::uint32_t inJobID, const XTime& inCompletionTime,
    const XNetJobResult& inResult )
    : XRemoteMessage( inSpeaker, inMessageID ), itsJobID( inJobID ), itsCompletionTime( inCompletionTime ),
      itsResult( inResult.Clone() )
{
}

XNetJobCompletedMessage::XNetJobCompletedMessage( const XNetJobCompletedMessage& inOther )
    : XRemoteMessage( inOther ), itsJobID( inOther.itsJobID ), itsCompletionTime( inOther.itsCompletionTime ),
      itsResult( inOther.itsResult->Clone() )
{
}

XNetJobCompletedMessage& XNetJobCompletedMessage::operator=( const XNetJobCompletedMessage& inOther )
{
    std::unique_ptr<XNetJobResult> result( inOther.itsResult->Clone() );
    XRemoteMessage::operator=( inOther );
    itsJobID = inOther.itsJobID;
    itsCompletionTime = inOther.itsCompletionTime;
    itsResult = std::move( result );
    return *this;
}

XNetJobCompletedMessage::~XNetJobCompletedMessage() = default;

XNetJobCompletedMessage* XNetJobCompletedMessage::Clone() const
{
    return new XNetJobCompletedMessage( *this );
}

XMessage::XCoalesce XNetJobCompletedMessage::ShouldCoalesceQueueMessage( const XMessage& ) const
{
    return kCoalesceNone;
}

bool XNetJobCompletedMessage::operator==( const XMessage& inOther ) const
{
    const auto* const other = dynamic_cast<const XNetJobCompletedMessage*>( &inOther );
    return other && XRemoteMessage::operator==( inOther ) && itsJobID == other->itsJobID &&
        itsCompletionTime == other->itsCompletionTime && AreEqual( *itsResult, *other->itsResult );
}

std::uint64_t XNetJobCompletedMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XNetJobCompletedMessage ) ? itsJobID : 0;
}

// ---- Storage

XVersion XNetJobCompletedMessage::GetClassVersion()
{
    return XVersion( kClassNetJobCompletedMessage, 0 );
}

XVersion XNetJobCompletedMessage::GetSuperClassVersion()
{
    return XRemoteMessage::GetClassVersion();
}

XVersion XNetJobCompletedMessage::GetVersion() const
{
    return GetClassVersion();
}

USize64 XNetJobCompletedMessage::GetStreamUsage() const
{
    constexpr USize64 kNumbers = 3; // of 32 bits: version, job ID, the envelope of the result
    return XRemoteMessage::GetStreamUsage() + kNumbers * sizeof( std::uint32_t ) + XTime::GetStreamUsage() +
        itsResult->GetStreamUsage();
}

void XNetJobCompletedMessage::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XRemoteMessage::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
    itsJobID = inStream.Read32();
    itsCompletionTime.ReadStream2( inStream );
    itsResult = inStream.ReadObjectOf<XNetJobResult>( inOptions );
}

void XNetJobCompletedMessage::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XRemoteMessage::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write32( itsJobID );
    itsCompletionTime.WriteStream2( inStream );
    inStream.WriteObject( *itsResult, inOptions );
}
