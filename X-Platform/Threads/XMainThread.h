#pragma once

#include "Threads/XThread.h"

/// The XThread of the main thread during the lifetime of this object. Only the library's initialisation
/// creates one; the calling thread is the main thread from then on.
class KORVALE_API XMainThread : public XThread
{
public:
    XMainThread();
    ~XMainThread() override;

protected:
    /// Never called: the main thread is already running.
    std::int32_t RunThreadSelf() override;
};
