#include "Messaging/Internal/XDeferredNotice.h"

#include "Messaging/Internal/XMessageQueues.h"

#include <utility>

XDeferredNotice::XDeferredNotice( std::unique_ptr<XMessage> inMessage, XListener& inListener )
{
    XMessageQueues::Get(); // which are made on first use, and posting needs no memory
    itsEntry.isNotice = true;
    itsEntry.record.target = &inListener;
    itsEntry.record.message = std::move( inMessage );
}

XDeferredNotice::~XDeferredNotice()
{
    Withdraw();
}

void XDeferredNotice::Post() noexcept
{
    XMessageQueues::Get().PostNotice( itsEntry );
}

void XDeferredNotice::Withdraw() noexcept
{
    XMessageQueues::Get().WithdrawNotice( itsEntry );
}
