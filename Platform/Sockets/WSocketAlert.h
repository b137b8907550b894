#pragma once

#include "Threads/Waiting/WThreadAlert.h"

#include <cstdint>

/// Ends the waits of one thread on sockets from other threads: a descriptor (an event on Windows) that is ready from
/// `Alert` to `Clear`. A thread gets its own at its first wait on a socket; it goes with the thread.
/// Errors: the system's last error where there is no descriptor left for it.
class WSocketAlert final : public WAlertableWait
{
public:
    /// That of the calling thread.
    static WSocketAlert& GetCurrent();

    WSocketAlert();
    WSocketAlert( const WSocketAlert& ) = delete;
    WSocketAlert& operator=( const WSocketAlert& ) = delete;
    ~WSocketAlert();

    void Alert() override;

    /// On the thread itself, after a wait that was alerted.
    void Clear();

    /// What the system's wait takes.
    std::uintptr_t GetHandle() const { return itsHandle; }

private:
    std::uintptr_t itsHandle;
};
