#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <sys/types.h>
#include <ucontext.h>

/// The state of a thread, captured in one step and described in another: a signal handler may capture it, but
/// only ordinary code may describe it. Internal to the platform layer.
class WStackCapture
{
public:
    /// Captures the call stack of the calling thread, starting at the instruction of `inContext` if that is
    /// on the stack. Allocates and locks nothing.
    void Take( const ucontext_t& inContext );
    /// Captures the call stack from here; of the registers, only those that the call has preserved.
    void TakeHere();

    /// Symbols are loaded and cached on the first call.
    std::string Describe() const;

private:
    static constexpr std::size_t kMostFrames = 64;

    std::array<void*, kMostFrames> itsFrames;
    std::size_t itsFrameCount = 0;
    ucontext_t itsContext;
    bool itsHasAllRegisters = false;
    pid_t itsThread = 0;

    void SkipFramesAbove( void* inInstruction );
};
