#include "Messaging/XAppClosingMessage.h"

XAppClosingMessage::XAppClosingMessage( XSpeaker* inSpeaker ) : XMessage( inSpeaker ) {}

XAppClosingMessage::~XAppClosingMessage() = default;

XAppClosingMessage* XAppClosingMessage::Clone() const
{
    return new XAppClosingMessage( *this );
}
