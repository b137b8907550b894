#pragma once

#include "Messaging/XMessageCentre.h"

/// The message centre of the process, for messages that concern the whole application, such as
/// XAppInitialisedMessage and XAppClosingMessage. Created on first use, on any thread, and never destroyed.
class KORVALE_API XAppMessageCentre : public XMessageCentre
{
public:
    static XAppMessageCentre& GetAppMessageCentre();

private:
    XAppMessageCentre() = default;
    ~XAppMessageCentre() override = default;

    static std::atomic<XAppMessageCentre*> sManager;
};
