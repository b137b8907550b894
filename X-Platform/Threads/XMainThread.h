#pragma once

#include "Threads/XThread.h"

/// The main thread, adopted for the lifetime of this object. The library's initialisation makes the only one,
/// on the thread that is the main thread from then on.
class KORVALE_API XMainThread : public XThread
{
public:
    XMainThread();
    ~XMainThread() override;

protected:
    /// Never called: the main thread runs already.
    std::int32_t RunThreadSelf() override;
};
