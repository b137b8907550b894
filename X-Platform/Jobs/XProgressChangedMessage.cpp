#include "Jobs/XProgressChangedMessage.h"

#include "Core/Storables/XClassNumbers.h"
#include "Core/Streams/XStream.h"
#include "Ground/XErrorNumbers.h"
#include "Threads/XThread.h"

#include <typeinfo>

using XProgressChangedMessage = XThreadProgressStrategy::XProgressChangedMessage;

XProgressChangedMessage::XProgressChangedMessage( XSpeaker* inSpeaker )
    : XProgressChangedMessage( inSpeaker, 0, XChange() )
{
}

XProgressChangedMessage::XProgressChangedMessage(
    XSpeaker* inSpeaker, std::uint32_t inJobID, const XChange& inChange )
    : XNetJobMessage( inSpeaker, 0, inJobID ), itsThreadID( XThread::GetCurrentThreadID() ),
      itsChange( inChange )
{
}

XMessage::XCoalesce XProgressChangedMessage::ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const
{
    const auto* other = dynamic_cast<const XProgressChangedMessage*>( &inNewMessage );
    const bool areValues =
        other && GetChangeType() == kProgressChanged && other->GetChangeType() == kProgressChanged;
    if ( !areValues || !IsSameBar( *other ) )
        return kCoalesceNone;
    // Time metrics wrap around, so their difference determines which is newer.
    const auto distance = static_cast<std::int32_t>( other->GetTimeMetric() - GetTimeMetric() );
    return distance > 0 ? kCoalesceReplace : kCoalesceMerge;
}

bool XProgressChangedMessage::operator==( const XMessage& inOther ) const
{
    if ( !XNetJobMessage::operator==( inOther ) )
        return false;
    const auto& other = dynamic_cast<const XProgressChangedMessage&>( inOther );
    return IsSameBar( other ) && itsChange.type == other.itsChange.type &&
        itsChange.value == other.itsChange.value && itsChange.text == other.itsChange.text;
}

/// One for each bar's values, which alone coalesce. The others are unlike each other.
std::uint64_t XProgressChangedMessage::GetCoalesceKey() const noexcept
{
    if ( typeid( *this ) != typeid( XProgressChangedMessage ) )
        return 0;
    if ( itsChange.type != kProgressChanged )
        return GetTimeMetric();
    return ( std::uint64_t( itsThreadID ) << 32 ) ^ ( std::uint64_t( GetJobID() ) << 12 ) ^ itsChange.level;
}

bool XProgressChangedMessage::IsSameBar( const XProgressChangedMessage& inOther ) const
{
    return itsChange.level == inOther.itsChange.level && itsThreadID == inOther.itsThreadID &&
        GetJobID() == inOther.GetJobID();
}

// ---- Stream form

XVersion XProgressChangedMessage::GetClassVersion()
{
    return XVersion( kClassProgressChangedMessage );
}

XVersion XProgressChangedMessage::GetSuperClassVersion()
{
    return XNetJobMessage::GetClassVersion();
}

USize64 XProgressChangedMessage::GetStreamUsage() const
{
    return XNetJobMessage::GetStreamUsage() + 4 + 4 * 4 + itsChange.text.GetStreamUsage();
}

void XProgressChangedMessage::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XNetJobMessage::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
    ReadStreamSelf( inStream );
}

void XProgressChangedMessage::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XNetJobMessage::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
    WriteStreamSelf( inStream );
}

void XProgressChangedMessage::ReadStreamSelf( XStream& inStream )
{
    itsThreadID = inStream.Read32();
    const std::uint32_t type = inStream.Read32();
    itsChange.value = inStream.Read32();
    itsChange.level = inStream.Read32();
    inStream.ReadString( itsChange.text );
    if ( type > kBarDestroyed || itsChange.value > 1000 )
        XThrow( kErrorStreamCorrupted );
    itsChange.type = static_cast<XChangeType>( type );
}

void XProgressChangedMessage::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsThreadID );
    inStream.Write32( itsChange.type );
    inStream.Write32( itsChange.value );
    inStream.Write32( itsChange.level );
    inStream.WriteString( itsChange.text );
}
