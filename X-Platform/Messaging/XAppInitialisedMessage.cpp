#include "Messaging/XAppInitialisedMessage.h"

XAppInitialisedMessage::XAppInitialisedMessage( XSpeaker* inSpeaker ) : XMessage( inSpeaker ) {}

XAppInitialisedMessage::~XAppInitialisedMessage() = default;

XAppInitialisedMessage* XAppInitialisedMessage::Clone() const
{
    return new XAppInitialisedMessage( *this );
}
