#pragma once

#include <csignal>

/// The limit on the size of files (`ulimit -f`).
class WSizeLimit
{
public:
    WSizeLimit() = delete;

    /// From now on it is an error of the write that reaches it (system error 223), not the end of the process, unless the
    /// program handles the signal itself.
    static void MakeItAnError() noexcept
    {
        struct sigaction action = {};
        if ( ::sigaction( SIGXFSZ, nullptr, &action ) == 0 && action.sa_handler == SIG_DFL )
            ::signal( SIGXFSZ, SIG_IGN );
    }
};
