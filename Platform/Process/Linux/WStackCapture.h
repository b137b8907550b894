#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <sys/types.h>
#include <ucontext.h>

/// Where a thread is, taken in one step and described in another: a signal handler may do the first, but only ordinary
/// code the second. Internal to the platform layer.
class WStackCapture
{
public:
    /// Takes the call stack of the calling thread, from the instruction of `inContext` outwards if it lies on the stack.
    /// Allocates and locks nothing.
    void Take( const ucontext_t& inContext );
    /// The same from here: of the registers only those that the call left as they were.
    void TakeHere();

    /// Symbols are read on the first call and kept, so that later ones are quick.
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
