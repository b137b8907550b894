#include "Process/WCrashDump.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <windows.h>

#include <dbghelp.h>

// The registers and the call stack of a context, with the names of functions from the debug help library. The
// walk starts from a copy of the context, because StackWalk64 changes it. Modules are listed on the first dump
// only (SymInitialize with invasion of the process) and their symbols loaded when a frame needs them, as this
// takes long. Memory is read directly where it can be: through the system, each word costs a switch to another
// process under Wine.

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

bool IsReadable( DWORD64 inAddress, DWORD inSize )
{
    MEMORY_BASIC_INFORMATION region = {};
    if ( !::VirtualQuery( reinterpret_cast<const void*>( inAddress ), &region, sizeof( region ) ) )
        return false;
    const auto end = reinterpret_cast<std::uintptr_t>( region.BaseAddress ) + region.RegionSize;
    return region.State == MEM_COMMIT && ( region.Protect & ( PAGE_NOACCESS | PAGE_GUARD ) ) == 0 &&
        inSize <= end - inAddress;
}

/// Reads memory for the walk: the stack and what the modules say about it.
BOOL CALLBACK ReadMemory( HANDLE inProcess, DWORD64 inAddress, void* outBytes, DWORD inSize, DWORD* outRead )
{
    if ( IsReadable( inAddress, inSize ) )
    {
        std::memcpy( outBytes, reinterpret_cast<const void*>( inAddress ), inSize );
        *outRead = inSize;
        return TRUE;
    }
    SIZE_T read = 0;
    const BOOL isRead =
        ::ReadProcessMemory( inProcess, reinterpret_cast<const void*>( inAddress ), outBytes, inSize, &read );
    *outRead = static_cast<DWORD>( read );
    return isRead;
}

BOOL InitialiseSymbols( HANDLE inProcess )
{
    ::SymSetOptions( ::SymGetOptions() | SYMOPT_DEFERRED_LOADS );
    return ::SymInitialize( inProcess, nullptr, TRUE );
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
    static const BOOL sIsInitialised = InitialiseSymbols( process );
    if ( !sIsInitialised )
        return;
    STACKFRAME64 frame = GetInnermostFrame( inContext );
    for ( int i = 0; i < kMostFrames; ++i )
    {
        if ( !::StackWalk64(
                 IMAGE_FILE_MACHINE_AMD64, process, ::GetCurrentThread(), &frame, &inContext, ReadMemory,
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
