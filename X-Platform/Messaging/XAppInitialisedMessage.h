#pragma once

#include "Messaging/XMessage.h"

/// The application has been set up: spoken once through the application's message centre, when its main loop
/// is about to run.
class KORVALE_API XAppInitialisedMessage : public XMessage
{
public:
    explicit XAppInitialisedMessage( XSpeaker* inSpeaker = nullptr );
    ~XAppInitialisedMessage() override;

    XAppInitialisedMessage* Clone() const override;
};
