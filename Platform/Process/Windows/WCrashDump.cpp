#include "Process/WCrashDump.h"

#include <cstdint>
#include <cstdio>
#include <mutex>

#include <windows.h>

#include <dbghelp.h>

// The registers and the call stack of a context, with the names of functions from the debug help library. The
// walk starts from a copy of the context, because StackWalk64 changes it. Symbols are loaded on the first
// dump only (SymInitialize with invasion of the process), as this takes long.

namespace
{

constexpr int kMostFrames = 64;
constexpr DWORD kLongestName = 1024;

/// The debug help library is not thread-safe. Never destroyed, because dumps may be made until the process
/// ends.
std::mutex& GetSymbolMutex()
{
    static auto* sMutex = new std::mutex;
    return *sMutex;
}

template<class... TValues>
void Append( std::string& ioText, const char* inFormat, TValues... inValues )
{
    char text[64];
    std::snprintf( text, sizeof( text ), inFormat, inValues... );
    ioText += text;
}

void DescribeRegisters( const CONTEXT& inContext, std::string& ioText )
{
    struct Register
    {
        const char* name;
        DWORD64 value;
    };
    const Register registers[] = {
        { "rip", inContext.Rip }, { "rsp", inContext.Rsp }, { "rbp", inContext.Rbp },
        { "rax", inContext.Rax }, { "rbx", inContext.Rbx }, { "rcx", inContext.Rcx },
        { "rdx", inContext.Rdx }, { "rsi", inContext.Rsi }, { "rdi", inContext.Rdi },
        { "r8", inContext.R8 },   { "r9", inContext.R9 },   { "r10", inContext.R10 },
        { "r11", inContext.R11 }, { "r12", inContext.R12 }, { "r13", inContext.R13 },
        { "r14", inContext.R14 }, { "r15", inContext.R15 }, { "efl", inContext.EFlags },
    };
    int column = 0;
    for ( const auto& entry : registers )
        Append(
            ioText, "%4s %016llx%s", entry.name, static_cast<unsigned long long>( entry.value ),
            ++column % 3 == 0 ? "\r\n" : "  " );
}

void DescribeModule( DWORD64 inAddress, std::string& ioText )
{
    IMAGEHLP_MODULE64 module = {};
    module.SizeOfStruct = sizeof( module );
    if ( !::SymGetModuleInfo64( ::GetCurrentProcess(), inAddress, &module ) )
        return;
    ioText += " in ";
    ioText += module.ModuleName;
    Append( ioText, "+0x%llx", static_cast<unsigned long long>( inAddress - module.BaseOfImage ) );
}

void DescribeFrame( DWORD64 inAddress, std::string& ioText )
{
    alignas( SYMBOL_INFO ) unsigned char buffer[sizeof( SYMBOL_INFO ) + kLongestName] = {};
    auto* symbol = reinterpret_cast<SYMBOL_INFO*>( buffer );
    symbol->SizeOfStruct = sizeof( SYMBOL_INFO );
    symbol->MaxNameLen = kLongestName;
    DWORD64 offset = 0;
    Append( ioText, "  %016llx ", static_cast<unsigned long long>( inAddress ) );
    ioText += ::SymFromAddr( ::GetCurrentProcess(), inAddress, &offset, symbol ) ? symbol->Name : "?";
    DescribeModule( inAddress, ioText );
    ioText += "\r\n";
}

STACKFRAME64 GetInnermostFrame( const CONTEXT& inContext )
{
    STACKFRAME64 frame = {};
    frame.AddrPC.Offset = inContext.Rip;
    frame.AddrPC.Mode = AddrModeFlat;
    frame.AddrStack.Offset = inContext.Rsp;
    frame.AddrStack.Mode = AddrModeFlat;
    frame.AddrFrame.Offset = inContext.Rbp;
    frame.AddrFrame.Mode = AddrModeFlat;
    return frame;
}

void DescribeStack( CONTEXT inContext, std::string& ioText )
{
    const HANDLE process = ::GetCurrentProcess();
    const std::lock_guard lock( GetSymbolMutex() );
    static const BOOL sIsInitialised = ::SymInitialize( process, nullptr, TRUE );
    if ( !sIsInitialised )
        return;
    STACKFRAME64 frame = GetInnermostFrame( inContext );
    for ( int i = 0; i < kMostFrames; ++i )
    {
        if ( !::StackWalk64(
                 IMAGE_FILE_MACHINE_AMD64, process, ::GetCurrentThread(), &frame, &inContext, nullptr,
                 ::SymFunctionTableAccess64, ::SymGetModuleBase64, nullptr ) )
            return;
        // The end of the stack.
        if ( frame.AddrPC.Offset == 0 )
            return;
        DescribeFrame( frame.AddrPC.Offset, ioText );
    }
}

std::string DescribeContext( const CONTEXT& inContext )
{
    std::string text;
    Append( text, "Thread %lu of process %lu\r\n", ::GetCurrentThreadId(), ::GetCurrentProcessId() );
    text += "Registers:\r\n";
    DescribeRegisters( inContext, text );
    text += "Call stack, innermost first:\r\n";
    DescribeStack( inContext, text );
    return text;
}

} // namespace

std::string WCrashDump::MakeForCurrentThread()
{
    CONTEXT context = {};
    ::RtlCaptureContext( &context );
    return DescribeContext( context );
}

std::string WCrashDump::MakeForContext( void* inContext )
{
    return DescribeContext( *static_cast<const CONTEXT*>( inContext ) );
}
