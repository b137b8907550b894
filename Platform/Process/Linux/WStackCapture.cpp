#define BACKWARD_HAS_DW 1
#include "Process/Linux/WStackCapture.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <sstream>
#include <unordered_map>

#include <backward.hpp>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

// Capturing and describing are apart. Take may run in a signal handler: it stores addresses into an array of
// the object and allocates nothing, provided that the unwinder has been used before (see WCrashHandler).
// Describe reads debug information, which takes memory and time, and runs on another thread.

namespace
{

struct Register
{
    const char* name;
    unsigned long long value;
    bool isSavedByGetcontext = true;
};

/// The registers in which a context of this processor is described.
auto GetRegisters( const ucontext_t& inContext )
{
#if defined( __x86_64__ )
    const auto get = [&]( int inIndex )
    { return static_cast<unsigned long long>( inContext.uc_mcontext.gregs[inIndex] ); };
    return std::array<Register, 18>{ {
        { "rip", get( REG_RIP ) },
        { "rsp", get( REG_RSP ) },
        { "rbp", get( REG_RBP ) },
        { "rax", get( REG_RAX ), false },
        { "rbx", get( REG_RBX ) },
        { "rcx", get( REG_RCX ) },
        { "rdx", get( REG_RDX ) },
        { "rsi", get( REG_RSI ) },
        { "rdi", get( REG_RDI ) },
        { "r8", get( REG_R8 ) },
        { "r9", get( REG_R9 ) },
        { "r10", get( REG_R10 ), false },
        { "r11", get( REG_R11 ), false },
        { "r12", get( REG_R12 ) },
        { "r13", get( REG_R13 ) },
        { "r14", get( REG_R14 ) },
        { "r15", get( REG_R15 ) },
        { "efl", get( REG_EFL ), false },
    } };
#elif defined( __aarch64__ )
    const auto& machine = inContext.uc_mcontext;
    return std::array<Register, 9>{ {
        { "pc", machine.pc },
        { "sp", machine.sp },
        { "fp", machine.regs[29] },
        { "lr", machine.regs[30] },
        { "x0", machine.regs[0], false },
        { "x1", machine.regs[1], false },
        { "x2", machine.regs[2], false },
        { "x3", machine.regs[3], false },
        { "pst", machine.pstate, false },
    } };
#endif
}

void DescribeRegisters( const ucontext_t& inContext, bool inHasAll, std::ostream& outText )
{
    constexpr int kRegistersPerLine = 3;
    int column = 0;
    for ( const auto& entry : GetRegisters( inContext ) )
    {
        if ( !inHasAll && !entry.isSavedByGetcontext )
            continue;
        char text[32];
        std::snprintf( text, sizeof( text ), "%4s %016llx", entry.name, entry.value );
        const bool isLineEnd = ++column % kRegistersPerLine == 0;
        outText << text << ( isLineEnd ? "\n" : "  " );
    }
    if ( column % kRegistersPerLine != 0 )
        outText << "\n";
}

void DescribeSource( const backward::ResolvedTrace::SourceLoc& inSource, std::ostream& outText )
{
    outText << inSource.function;
    if ( !inSource.filename.empty() )
        outText << " at " << inSource.filename << ":" << inSource.line;
}

std::string DescribeFrame( const backward::ResolvedTrace& inFrame )
{
    std::ostringstream text;
    for ( const auto& inliner : inFrame.inliners )
    {
        text << "  inlined          ";
        DescribeSource( inliner, text );
        text << "\n";
    }
    char address[32];
    std::snprintf( address, sizeof( address ), "  %016zx ", reinterpret_cast<std::size_t>( inFrame.addr ) );
    text << address;
    if ( !inFrame.source.function.empty() )
        DescribeSource( inFrame.source, text );
    else
        text << ( inFrame.object_function.empty() ? "?" : inFrame.object_function );
    text << " in " << inFrame.object_filename << "\n";
    return text.str();
}

/// Reading debug information is slow, so it is cached for the next dump.
class Symbols
{
public:
    std::string Describe( void* inAddress )
    {
        const std::lock_guard lock( itsMutex );
        if ( itsFramesKept.size() >= kMostFramesKept )
            itsFramesKept.clear();
        const auto [found, isNew] = itsFramesKept.try_emplace( inAddress );
        if ( isNew )
            found->second = DescribeFrame( itsResolver.resolve( backward::Trace( inAddress, 0 ) ) );
        return found->second;
    }

    static Symbols& Get()
    {
        static auto* sSymbols = new Symbols;
        return *sSymbols;
    }

private:
    static constexpr std::size_t kMostFramesKept = 4096;

    std::mutex itsMutex;
    backward::TraceResolver itsResolver;                  // guarded by itsMutex
    std::unordered_map<void*, std::string> itsFramesKept; // guarded by itsMutex
};

/// Where the processor was.
void* GetInstruction( const ucontext_t& inContext )
{
#if defined( __x86_64__ )
    return reinterpret_cast<void*>( inContext.uc_mcontext.gregs[REG_RIP] );
#elif defined( __aarch64__ )
    return reinterpret_cast<void*>( inContext.uc_mcontext.pc );
#endif
}

/// The frames as the unwinder meets them.
struct FrameList
{
    void** itsFrames;
    std::size_t itsRoom;
    std::size_t itsCount = 0;
};

_Unwind_Reason_Code AddFrame( _Unwind_Context* inContext, void* inList )
{
    auto& list = *static_cast<FrameList*>( inList );
    int isExact = 0;
    auto address = _Unwind_GetIPInfo( inContext, &isExact );
    if ( address == 0 || list.itsCount == list.itsRoom )
        return _URC_END_OF_STACK;
    // A return address may belong to the line after the call.
    if ( !isExact )
        --address;
    list.itsFrames[list.itsCount++] = reinterpret_cast<void*>( address );
    return _URC_NO_REASON;
}

} // namespace

void WStackCapture::Take( const ucontext_t& inContext )
{
    itsContext = inContext;
    itsHasAllRegisters = true;
    itsThread = static_cast<pid_t>( ::syscall( SYS_gettid ) );
    FrameList list = { itsFrames.data(), itsFrames.size() };
    _Unwind_Backtrace( AddFrame, &list );
    itsFrameCount = list.itsCount;
    // The innermost frames are those of the handler; the stack of interest begins at the instruction that
    // failed.
    SkipFramesAbove( GetInstruction( inContext ) );
}

void WStackCapture::TakeHere()
{
    ucontext_t context = {};
    ::getcontext( &context );
    Take( context );
    itsHasAllRegisters = false;
}

void WStackCapture::SkipFramesAbove( void* inInstruction )
{
    auto* end = itsFrames.data() + itsFrameCount;
    auto* first = std::find( itsFrames.data(), end, inInstruction );
    if ( first == end )
        return;
    std::copy( first, end, itsFrames.data() );
    itsFrameCount = static_cast<std::size_t>( end - first );
}

std::string WStackCapture::Describe() const
{
    std::ostringstream text;
    text << "Thread " << itsThread << " of process " << ::getpid() << "\n";
    text << "Registers:\n";
    DescribeRegisters( itsContext, itsHasAllRegisters, text );
    text << "Call stack, innermost first:\n";
    for ( std::size_t i = 0; i < itsFrameCount; ++i )
        text << Symbols::Get().Describe( itsFrames[i] );
    return text.str();
}
