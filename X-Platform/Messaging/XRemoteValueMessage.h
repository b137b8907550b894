#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Streams/XStream.h"
#include "Messaging/XRemoteMessage.h"

/// Base of remote messages that carry one additional number: comparison and stream form. A derived class
/// passes its class number and the type of the number.
template<XClassNumber kClassNumber, class TValue>
class XRemoteValueMessage : public XRemoteMessage
{
public:
    bool operator==( const XMessage& inOther ) const override
    {
        const auto* const other = dynamic_cast<const XRemoteValueMessage*>( &inOther );
        return other && XRemoteMessage::operator==( inOther ) && itsValue == other->itsValue;
    }

    static XVersion GetClassVersion() { return XVersion( kClassNumber, 0 ); }
    static XVersion GetSuperClassVersion() { return XRemoteMessage::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    USize64 GetStreamUsage() const override
    {
        return XRemoteMessage::GetStreamUsage() + sizeof( std::uint32_t ) + sizeof( TValue );
    }
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override
    {
        XRemoteMessage::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetClassVersion() );
        itsValue = inStream.ReadValue<TValue>();
    }
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override
    {
        XRemoteMessage::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.WriteValue( itsValue );
    }

protected:
    XRemoteValueMessage( XSpeaker* inSpeaker, std::uint32_t inID, TValue inValue )
        : XRemoteMessage( inSpeaker, inID ), itsValue( inValue )
    {
    }

    TValue GetStoredValue() const { return itsValue; }

private:
    TValue itsValue;
};
