#define BACKWARD_HAS_DW 1
#include "WCrashDump.h"

#include <array>
#include <cstdio>
#include <memory>
#include <mutex>
#include <sstream>

#include <backward.hpp>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace
{

constexpr std::size_t kMostFrames = 64;

struct Register
{
    const char* itsName;
    unsigned long long itsValue;
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
        { "rax", get( REG_RAX ) },
        { "rbx", get( REG_RBX ) },
        { "rcx", get( REG_RCX ) },
        { "rdx", get( REG_RDX ) },
        { "rsi", get( REG_RSI ) },
        { "rdi", get( REG_RDI ) },
        { "r8", get( REG_R8 ) },
        { "r9", get( REG_R9 ) },
        { "r10", get( REG_R10 ) },
        { "r11", get( REG_R11 ) },
        { "r12", get( REG_R12 ) },
        { "r13", get( REG_R13 ) },
        { "r14", get( REG_R14 ) },
        { "r15", get( REG_R15 ) },
        { "efl", get( REG_EFL ) },
    } };
#elif defined( __aarch64__ )
    const auto& machine = inContext.uc_mcontext;
    return std::array<Register, 9>{ {
        { "pc", machine.pc },
        { "sp", machine.sp },
        { "fp", machine.regs[29] },
        { "lr", machine.regs[30] },
        { "x0", machine.regs[0] },
        { "x1", machine.regs[1] },
        { "x2", machine.regs[2] },
        { "x3", machine.regs[3] },
        { "pst", machine.pstate },
    } };
#endif
}

void DescribeRegisters( const ucontext_t& inContext, std::ostream& outText )
{
    constexpr int kRegistersPerLine = 3;
    int column = 0;
    for ( const auto& entry : GetRegisters( inContext ) )
    {
        char text[32];
        std::snprintf( text, sizeof( text ), "%4s %016llx", entry.itsName, entry.itsValue );
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

void DescribeFrame( const backward::ResolvedTrace& inFrame, std::ostream& outText )
{
    for ( const auto& inliner : inFrame.inliners )
    {
        outText << "  inlined            ";
        DescribeSource( inliner, outText );
        outText << "\n";
    }
    char address[32];
    std::snprintf( address, sizeof( address ), "  %016zx ", reinterpret_cast<std::size_t>( inFrame.addr ) );
    outText << address;
    const bool hasSource = !inFrame.source.function.empty();
    if ( hasSource )
        DescribeSource( inFrame.source, outText );
    else
        outText << ( inFrame.object_function.empty() ? "?" : inFrame.object_function );
    outText << " in " << inFrame.object_filename << "\n";
}

/// Reading debug information is slow, so what has been read is kept for the next dump.
class Symbols
{
public:
    void Describe( backward::StackTrace& inTrace, std::ostream& outText )
    {
        const std::lock_guard lock( itsMutex );
        if ( !itsResolver )
            itsResolver = std::make_unique<backward::TraceResolver>();
        itsResolver->load_stacktrace( inTrace );
        for ( std::size_t i = 0; i < inTrace.size(); ++i )
            DescribeFrame( itsResolver->resolve( inTrace[i] ), outText );
    }

    static Symbols& Get()
    {
        static auto* sSymbols = new Symbols;
        return *sSymbols;
    }

private:
    std::mutex itsMutex;
    std::unique_ptr<backward::TraceResolver> itsResolver; // guarded by itsMutex
};

std::string Describe( backward::StackTrace& inTrace, const ucontext_t& inContext )
{
    std::ostringstream text;
    text << "Thread " << ::syscall( SYS_gettid ) << " of process " << ::getpid() << "\n";
    text << "Registers:\n";
    DescribeRegisters( inContext, text );
    text << "Call stack, innermost first:\n";
    Symbols::Get().Describe( inTrace, text );
    return text.str();
}

/// Where the processor was.
void* GetInstruction( const ucontext_t& inContext )
{
#if defined( __x86_64__ )
    return reinterpret_cast<void*>( inContext.uc_mcontext.gregs[REG_RIP] );
#elif defined( __aarch64__ )
    return reinterpret_cast<void*>( inContext.uc_mcontext.pc );
#endif
}

} // namespace

std::string WCrashDump::MakeForCurrentThread()
{
    ucontext_t context;
    ::getcontext( &context );
    backward::StackTrace trace;
    trace.load_here( kMostFrames );
    return Describe( trace, context );
}

std::string WCrashDump::MakeForContext( void* inContext )
{
    const auto& context = *static_cast<const ucontext_t*>( inContext );
    backward::StackTrace trace;
    trace.load_from( GetInstruction( context ), kMostFrames, inContext );
    return Describe( trace, context );
}
