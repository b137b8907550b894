#pragma once

#include "Messaging/XListener.h"
#include "Messaging/XSpeaker.h"

/// A relay: speaks every message that it receives to its own listeners, so that many speakers reach many
/// listeners that do not know each other. A message that it has to queue is queued with the centre as its
/// speaker.
class KORVALE_API XMessageCentre : public XSpeaker, public XListener
{
public:
    /// An asynchronous centre relays messages on any thread; any other receives them on the main thread.
    explicit XMessageCentre( bool inIsAsynchronous = false );
    XMessageCentre( const XMessageCentre& ) = delete;
    XMessageCentre& operator=( const XMessageCentre& ) = delete;
    ~XMessageCentre() override;

    void HandleMessage( const XMessage& inMessage ) override;
};
