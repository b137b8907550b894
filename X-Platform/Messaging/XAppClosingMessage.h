#pragma once

#include "Messaging/XMessage.h"

/// The application is about to close. Spoken once through the application's message centre, before anything
/// is destroyed.
class KORVALE_API XAppClosingMessage : public XMessage
{
public:
    explicit XAppClosingMessage( XSpeaker* inSpeaker = nullptr );
    ~XAppClosingMessage() override;

    XAppClosingMessage* Clone() const override;
};
