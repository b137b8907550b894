#pragma once

#include <csignal>

/// The limit on the size of files (`ulimit -f`).
class WSizeLimit
{
public:
    WSizeLimit() = delete;

    /// Makes exceeding the limit an error of the write (system error 223) instead of the end of the process,
    /// unless the program handles the signal itself.
    static void MakeItAnError() noexcept
    {
        struct sigaction action = {};
        if ( ::sigaction( SIGXFSZ, nullptr, &action ) == 0 && action.sa_handler == SIG_DFL )
            ::signal( SIGXFSZ, SIG_IGN );
    }
};
