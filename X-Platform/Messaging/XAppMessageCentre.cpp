#include "Messaging/XAppMessageCentre.h"

std::atomic<XAppMessageCentre*> XAppMessageCentre::sManager = nullptr;

XAppMessageCentre& XAppMessageCentre::GetAppMessageCentre()
{
    XAppMessageCentre* manager = sManager.load( std::memory_order_acquire );
    if ( manager )
        return *manager;
    auto* const created = new XAppMessageCentre;
    if ( sManager.compare_exchange_strong( manager, created, std::memory_order_acq_rel ) )
        return *created;
    delete created;
    return *manager;
}
