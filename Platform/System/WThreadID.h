#pragma once

#include "Ground/XTypes.h"

/// The system's ID of the calling thread. Inline, because locks read it on every call. An ID is never 0 and
/// fits in 30 bits; the system may reuse the ID of an ended thread.
class WThreadID
{
public:
    static std::uint32_t GetCurrent();

    /// The ID of the thread that loaded the library; on every supported system this is the process's first
    /// thread.
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
    std::uint32_t id; // in the thread's environment block, where GetCurrentThreadId() reads it
    __asm__( "movl %%gs:0x48, %0" : "=r"( id ) );
    return id;
#else
    const std::uint32_t id = sCurrent;
    return id != 0 ? id : Fetch();
#endif
}
