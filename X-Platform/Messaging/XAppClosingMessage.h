#pragma once

#include "Messaging/XMessage.h"

/// The application is about to close: spoken once through the application's message centre, while everything
/// still exists.
class KORVALE_API XAppClosingMessage : public XMessage
{
public:
    explicit XAppClosingMessage( XSpeaker* inSpeaker = nullptr );
    ~XAppClosingMessage() override;

    XAppClosingMessage* Clone() const override;
};
