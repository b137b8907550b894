#pragma once

#include "Ground/XTypes.h"

/// The operating system's ID of the calling thread, which locks read on every call and which is therefore
/// inline. An ID is never 0 and fits in 30 bits; the system may give the ID of an ended thread to a new one.
class WThreadID
{
public:
    static std::uint32_t GetCurrent();

    /// The ID of the thread that loaded the library, which on every supported system is the process's first
    /// one.
    KORVALE_API static std::uint32_t GetMain();

private:
#if !defined( _WIN32 )
    KORVALE_API static std::uint32_t Fetch();
    KORVALE_API static constinit thread_local std::uint32_t sCurrent
        __attribute__( ( tls_model( "initial-exec" ) ) );
#endif
};

inline std::uint32_t WThreadID::GetCurrent()
{
#if defined( _WIN32 )
    std::uint32_t id; // in the thread's environment block, where GetCurrentThreadId() takes it from
    __asm__( "movl %%gs:0x48, %0" : "=r"( id ) );
    return id;
#else
    const std::uint32_t id = sCurrent;
    return id != 0 ? id : Fetch();
#endif
}
