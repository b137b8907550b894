#include "NetJobs/XNetJobQueuePositionChangedMessage.h"

#include "Core/Streams/XStream.h"

#include <typeinfo>

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr std::uint32_t XNetJobQueuePositionChangedMessage::kUnknownWait;

XNetJobQueuePositionChangedMessage::XNetJobQueuePositionChangedMessage( XSpeaker* inSpeaker )
    : XRemoteMessage( inSpeaker )
{
}

XNetJobQueuePositionChangedMessage::XNetJobQueuePositionChangedMessage(
    XSpeaker* inSpeaker, std::uint32_t inJobQueueID, std::uint32_t inNextJobID, std::uint32_t inPosition,
    std::uint32_t inWaitingJobs, std::uint32_t inRunningJobs, std::uint32_t inWorkers,
    std::uint32_t inEstimatedWaitMS )
    : XRemoteMessage( inSpeaker ), itsJobQueueID( inJobQueueID ), itsNextJobID( inNextJobID ),
      itsPosition( inPosition ), itsWaitingJobs( inWaitingJobs ), itsRunningJobs( inRunningJobs ),
      itsWorkers( inWorkers ), itsEstimatedWaitMS( inEstimatedWaitMS )
{
}

XNetJobQueuePositionChangedMessage::~XNetJobQueuePositionChangedMessage() = default;

XNetJobQueuePositionChangedMessage* XNetJobQueuePositionChangedMessage::Clone() const
{
    return new XNetJobQueuePositionChangedMessage( *this );
}

XMessage::XCoalesce
XNetJobQueuePositionChangedMessage::ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const
{
    const auto* const other = dynamic_cast<const XNetJobQueuePositionChangedMessage*>( &inNewMessage );
    return other && other->itsJobQueueID == itsJobQueueID ? kCoalesceReplace : kCoalesceNone;
}

bool XNetJobQueuePositionChangedMessage::operator==( const XMessage& inOther ) const
{
    const auto* const other = dynamic_cast<const XNetJobQueuePositionChangedMessage*>( &inOther );
    return other && XRemoteMessage::operator==( inOther ) && itsJobQueueID == other->itsJobQueueID &&
        itsNextJobID == other->itsNextJobID && itsPosition == other->itsPosition &&
        itsWaitingJobs == other->itsWaitingJobs && itsRunningJobs == other->itsRunningJobs &&
        itsWorkers == other->itsWorkers && itsEstimatedWaitMS == other->itsEstimatedWaitMS;
}

std::uint64_t XNetJobQueuePositionChangedMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XNetJobQueuePositionChangedMessage ) ? itsJobQueueID : 0;
}

// ---- Storage

XVersion XNetJobQueuePositionChangedMessage::GetClassVersion()
{
    return XVersion( kClassNetJobQueuePositionChangedMessage, 0 );
}

XVersion XNetJobQueuePositionChangedMessage::GetSuperClassVersion()
{
    return XRemoteMessage::GetClassVersion();
}

XVersion XNetJobQueuePositionChangedMessage::GetVersion() const
{
    return GetClassVersion();
}

USize64 XNetJobQueuePositionChangedMessage::GetStreamUsage() const
{
    constexpr USize64 kNumbers = 8; // of 32 bits, the version included
    return XRemoteMessage::GetStreamUsage() + kNumbers * sizeof( std::uint32_t );
}

void XNetJobQueuePositionChangedMessage::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XRemoteMessage::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
    itsJobQueueID = inStream.Read32();
    itsNextJobID = inStream.Read32();
    itsPosition = inStream.Read32();
    itsWaitingJobs = inStream.Read32();
    itsRunningJobs = inStream.Read32();
    itsWorkers = inStream.Read32();
    itsEstimatedWaitMS = inStream.Read32();
}

void XNetJobQueuePositionChangedMessage::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XRemoteMessage::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write32( itsJobQueueID );
    inStream.Write32( itsNextJobID );
    inStream.Write32( itsPosition );
    inStream.Write32( itsWaitingJobs );
    inStream.Write32( itsRunningJobs );
    inStream.Write32( itsWorkers );
    inStream.Write32( itsEstimatedWaitMS );
}
