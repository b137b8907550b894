#pragma once

#include "Ground/XTypes.h"

/// The code that a WThread runs; implemented by the portable thread class.
class WThreadBody
{
public:
    /// Runs the thread. Any exception ends the thread quietly.
    virtual void RunThread() = 0;

    /// Called on the thread after `RunThread`, however that ended, or instead of it if there is no memory to
    /// run. Returns the thread's exit code. The body is not used afterwards, and its WThread may be
    /// destroyed, which waits for the system's thread.
    virtual std::int32_t FinishThread() noexcept = 0;

protected:
    ~WThreadBody() = default;
};
