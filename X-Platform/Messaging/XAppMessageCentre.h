#pragma once

#include "Messaging/XMessageCentre.h"

/// The one message centre of the process, through which messages of the whole application travel, such as
/// XAppInitialisedMessage and XAppClosingMessage. Made on first use, on any thread; it lasts as long as the
/// process.
class KORVALE_API XAppMessageCentre : public XMessageCentre
{
public:
    static XAppMessageCentre& GetAppMessageCentre();

private:
    XAppMessageCentre() = default;
    ~XAppMessageCentre() override = default;

    static std::atomic<XAppMessageCentre*> sManager;
};
