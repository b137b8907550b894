#pragma once

#include "Messaging/XMessage.h"

/// The application has been initialised. Spoken once through the application's message centre, just before
/// its main loop runs.
class KORVALE_API XAppInitialisedMessage : public XMessage
{
public:
    explicit XAppInitialisedMessage( XSpeaker* inSpeaker = nullptr );
    ~XAppInitialisedMessage() override;

    XAppInitialisedMessage* Clone() const override;
};
