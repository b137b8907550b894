#pragma once

#include "Threads/Waiting/WThreadAlert.h"

#include <cstdint>

/// Ends the waits of one thread on sockets from other threads: a descriptor (an event on Windows) that is
/// ready from `Alert` to `Clear`. Created at a thread's first wait on a socket and destroyed with the thread.
/// Errors: the system's last error if there is no descriptor left.
class WSocketAlert final : public WAlertableWait
{
public:
    /// The alert of the calling thread.
    static WSocketAlert& GetCurrent();

    WSocketAlert();
    WSocketAlert( const WSocketAlert& ) = delete;
    WSocketAlert& operator=( const WSocketAlert& ) = delete;
    ~WSocketAlert();

    void Alert() override;

    /// Called on the thread itself, after a wait that was alerted.
    void Clear();

    /// The handle for the system's wait function.
    std::uintptr_t GetHandle() const { return itsHandle; }

private:
    std::uintptr_t itsHandle;
};
