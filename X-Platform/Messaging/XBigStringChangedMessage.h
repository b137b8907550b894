#pragma once

#include "Messaging/XMessage.h"

/// The text of an XBigString, the message's speaker, has changed. Several changes before the delivery are one
/// message.
class KORVALE_API XBigStringChangedMessage : public XMessage
{
public:
    explicit XBigStringChangedMessage( XSpeaker* inSpeaker = nullptr );
    ~XBigStringChangedMessage() override;

    XBigStringChangedMessage* Clone() const override;
};
