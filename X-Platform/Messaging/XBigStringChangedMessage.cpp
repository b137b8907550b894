#include "Messaging/XBigStringChangedMessage.h"

XBigStringChangedMessage::XBigStringChangedMessage( XSpeaker* inSpeaker ) : XMessage( inSpeaker ) {}

XBigStringChangedMessage::~XBigStringChangedMessage() = default;

XBigStringChangedMessage* XBigStringChangedMessage::Clone() const
{
    return new XBigStringChangedMessage( *this );
}
