#include "Sockets/WPipe.h"

#include "Sockets/WSocketAlert.h"
#include "Sockets/Windows/WEventObject.h"
#include "System/WSystemError.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

#include <aclapi.h>
#include <sddl.h>

#include "WNoSystemMacros.h" // needs to be behind the headers above

// The system reads and writes into buffers of the object while no thread waits in it. So an alert or a deadline ends a
// wait without ending the operation, and nothing that the system has moved is lost.

namespace
{

constexpr DWORD kCapacity = 65536;
constexpr std::uint32_t kRetryMS = 10;

class PipeHandle
{
public:
    explicit PipeHandle( HANDLE inHandle = INVALID_HANDLE_VALUE ) : itsHandle( inHandle ) {}
    PipeHandle( PipeHandle&& inOther ) noexcept
        : itsHandle( std::exchange( inOther.itsHandle, INVALID_HANDLE_VALUE ) )
    {
    }
    PipeHandle& operator=( PipeHandle&& inOther ) noexcept
    {
        std::swap( itsHandle, inOther.itsHandle );
        return *this;
    }
    ~PipeHandle()
    {
        if ( IsOpen() )
            CloseHandle( itsHandle );
    }

    bool IsOpen() const { return itsHandle != INVALID_HANDLE_VALUE; }
    operator HANDLE() const { return itsHandle; }

private:
    HANDLE itsHandle;
};

/// One that the system does, on its own time.
struct Operation
{
    /// The overlapped structure for the next operation.
    OVERLAPPED* Begin()
    {
        overlapped = {};
        overlapped.hEvent = done;
        isPending = true;
        return &overlapped;
    }

    /// Whether it is over; then `outCount` and `outError` tell how it went.
    bool Finish( HANDLE inPipe, DWORD& outCount, DWORD& outError )
    {
        outCount = 0;
        outError = GetOverlappedResult( inPipe, &overlapped, &outCount, FALSE ) ? 0 : GetLastError();
        isPending = outError == ERROR_IO_INCOMPLETE;
        return !isPending;
    }

    void WaitForEnd( HANDLE inPipe )
    {
        DWORD count = 0;
        if ( isPending )
            GetOverlappedResult( inPipe, &overlapped, &count, TRUE );
        isPending = false;
    }

    OVERLAPPED overlapped{};
    WEventObject done{ true };
    bool isPending = false;
};

/// The library's code for an error of a pipe.
std::uint32_t ToPipeError( DWORD inError )
{
    switch ( inError )
    {
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
        return WConnection::kErrorReset;
    case ERROR_OPERATION_ABORTED:
        return WConnection::kErrorAborted;
    case ERROR_FILE_NOT_FOUND:
        return WConnection::kErrorRefused;
    case ERROR_PIPE_BUSY:
        return WConnection::kErrorWouldBlock;
    case ERROR_ACCESS_DENIED:
        return WConnection::kErrorAccess;
    default:
        return inError;
    }
}

WConnection::Outcome Failed( DWORD inError )
{
    return { WConnection::kFailed, 0, ToPipeError( inError ) };
}

/// The user of this process, and the owner of the objects that it creates.
class User
{
public:
    static const User& Get()
    {
        static const User sUser;
        return sUser;
    }

    bool Is( PSID inSID ) const
    {
        return EqualSid( inSID, GetSID( itsUser ) ) || EqualSid( inSID, GetSID( itsOwner ) );
    }

    /// Grants all rights to the user and none to others.
    SECURITY_ATTRIBUTES GetAttributes() const
    {
        return { sizeof( SECURITY_ATTRIBUTES ), itsDescriptor, FALSE };
    }

private:
    User()
    {
        HANDLE token = nullptr;
        if ( !OpenProcessToken( GetCurrentProcess(), TOKEN_QUERY, &token ) )
            XThrowLastSystemError();
        const bool isKnown = Ask( token, TokenUser, itsUser ) && Ask( token, TokenOwner, itsOwner );
        CloseHandle( token );
        LPWSTR text = nullptr;
        if ( !isKnown || !ConvertSidToStringSidW( GetSID( itsUser ), &text ) )
            XThrowLastSystemError();
        // Protected from inheritance, all rights for one user.
        const std::wstring access = std::wstring( L"D:P(A;;GA;;;" ) + text + L")";
        LocalFree( text );
        if ( !ConvertStringSecurityDescriptorToSecurityDescriptorW(
                 access.c_str(), SDDL_REVISION_1, &itsDescriptor, nullptr ) )
            XThrowLastSystemError();
    }

    static bool Ask( HANDLE inToken, TOKEN_INFORMATION_CLASS inWhat, std::vector<std::uint8_t>& outAnswer )
    {
        DWORD size = 0;
        GetTokenInformation( inToken, inWhat, nullptr, 0, &size );
        outAnswer.resize( size );
        return GetTokenInformation( inToken, inWhat, outAnswer.data(), size, &size );
    }

    /// Both answers begin with a pointer to the identifier.
    static PSID GetSID( const std::vector<std::uint8_t>& inAnswer )
    {
        PSID sid = nullptr;
        std::memcpy( &sid, inAnswer.data(), sizeof( sid ) );
        return sid;
    }

    std::vector<std::uint8_t> itsUser, itsOwner;
    PSECURITY_DESCRIPTOR itsDescriptor = nullptr; // for good
};

bool IsOfThisUser( HANDLE inPipe )
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if ( GetSecurityInfo(
             inPipe, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
             &descriptor ) != ERROR_SUCCESS )
        return false;
    const bool isOfThisUser = owner && User::Get().Is( owner );
    LocalFree( descriptor );
    return isOfThisUser;
}

std::wstring ToPipePath( const std::string& inName )
{
    return L"\\\\.\\pipe\\" + std::wstring( inName.begin(), inName.end() ); // names are ASCII
}

/// A place for one connection, the first of its name or another one.
PipeHandle MakeInstance( const std::wstring& inPath, bool inIsFirst )
{
    SECURITY_ATTRIBUTES attributes = User::Get().GetAttributes();
    return PipeHandle( CreateNamedPipeW(
        inPath.c_str(),
        PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | ( inIsFirst ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0 ),
        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
        PIPE_UNLIMITED_INSTANCES, kCapacity, kCapacity, 0, &attributes ) );
}

/// Wine does not refuse a second first instance.
bool IsInUse( const std::wstring& inPath )
{
    return WaitNamedPipeW( inPath.c_str(), 1 ) || GetLastError() == ERROR_SEM_TIMEOUT;
}

} // namespace

struct WPipe::System
{
    ~System()
    {
        if ( pipe.IsOpen() )
            CancelIoEx( pipe, nullptr );
        reading.WaitForEnd( pipe );
        writing.WaitForEnd( pipe );
    }

    USize GetHeld() const { return end - begin; }

    /// Completes the pending read. Returns 0 or the error.
    DWORD FinishReading()
    {
        DWORD count = 0, error = 0;
        if ( !reading.isPending )
            return 0;
        // ERROR_IO_INCOMPLETE while the system is still reading.
        if ( !reading.Finish( pipe, count, error ) || error != 0 )
            return error;
        end += count;
        return 0;
    }

    /// Starts to read after the buffered bytes.
    DWORD StartReading()
    {
        if ( !input )
            input = std::make_unique<std::uint8_t[]>( kCapacity );
        // Only while no read is pending: the system writes to the buffer then.
        std::memmove( input.get(), input.get() + begin, GetHeld() );
        end = GetHeld();
        begin = 0;
        if ( ReadFile(
                 pipe, input.get() + end, static_cast<DWORD>( kCapacity - end ), nullptr, reading.Begin() ) )
            return 0;
        const DWORD error = GetLastError();
        reading.isPending = error == ERROR_IO_PENDING;
        return reading.isPending ? 0 : error;
    }

    DWORD GetBytesInPipe() const
    {
        DWORD count = 0;
        return PeekNamedPipe( pipe, nullptr, 0, nullptr, &count, nullptr ) ? count : 0;
    }

    /// Whether the previous write has completed. `outError` is its result.
    bool FinishWriting( DWORD& outError )
    {
        DWORD count = 0;
        outError = 0;
        return !writing.isPending || writing.Finish( pipe, count, outError );
    }

    std::wstring path = {};
    std::mutex mutex = {};
    // Guarded by mutex; the handle changes in a listener only:
    PipeHandle pipe = PipeHandle();
    Operation reading = {}; // a listener's: connecting
    Operation writing = {};
    std::unique_ptr<std::uint8_t[]> input = {};
    std::unique_ptr<std::uint8_t[]> output = {};
    USize begin = 0; // of the input that waits
    USize end = 0;
    bool isListening = false;
    bool hasClient = false; // a listener's instance
    bool hasShutDown = false;
    WEventObject ended{ true };
};

// ---- Life

WPipe::WPipe( const std::string& inName ) : WPipe( std::make_unique<System>() )
{
    itsSystem->path = ToPipePath( inName );
}

WPipe::WPipe( std::unique_ptr<System> inSystem ) : itsSystem( std::move( inSystem ) ) {}

WPipe::~WPipe() = default;

std::string WPipe::GetPath( const std::string& inName )
{
    return "\\\\.\\pipe\\" + inName;
}

// ---- Connections

WPipe::Outcome WPipe::Listen( std::uint32_t )
{
    const std::lock_guard lock( itsSystem->mutex );
    if ( IsInUse( itsSystem->path ) )
        return { kFailed, 0, kErrorAddressInUse };
    itsSystem->pipe = MakeInstance( itsSystem->path, true );
    if ( itsSystem->pipe.IsOpen() )
    {
        itsSystem->isListening = true;
        return {};
    }
    const DWORD error = GetLastError();
    return { kFailed, 0, error == ERROR_ACCESS_DENIED ? kErrorAddressInUse : ToPipeError( error ) };
}

/// The next instance is there before the one with the client is given away, so that the name does not go in between.
WPipe::Outcome WPipe::TryAccept( WConnectionPtr& outConnection )
{
    System& system = *itsSystem;
    const std::lock_guard lock( system.mutex );
    if ( IsInterrupted() )
        return { kFailed, 0, kErrorAborted };
    DWORD count = 0, error = 0;
    if ( !system.hasClient && !system.reading.isPending )
    {
        ConnectNamedPipe( system.pipe, system.reading.Begin() );
        error = GetLastError();
        system.reading.isPending = error == ERROR_IO_PENDING;
    }
    if ( system.reading.isPending )
    {
        if ( !system.reading.Finish( system.pipe, count, error ) )
            return { kFailed, 0, kErrorWouldBlock };
        system.hasClient = error == 0;
    }
    else if ( error == ERROR_PIPE_CONNECTED )
        system.hasClient = true;
    if ( !system.hasClient ) // it has gone already
    {
        // Makes the instance usable for the next client.
        DisconnectNamedPipe( system.pipe );
        return { kFailed, 0, error == ERROR_NO_DATA ? kErrorWouldBlock : ToPipeError( error ) };
    }
    PipeHandle next = MakeInstance( system.path, false );
    if ( !next.IsOpen() )
        return Failed( GetLastError() );
    auto accepted = std::make_unique<System>();
    std::swap( accepted->pipe, system.pipe );
    system.pipe = std::move( next );
    system.hasClient = false;
    outConnection.reset( new WPipe( std::move( accepted ) ) );
    return {};
}

WPipe::Outcome WPipe::StartConnecting()
{
    return TryFinishConnecting();
}

WPipe::Outcome WPipe::TryFinishConnecting()
{
    System& system = *itsSystem;
    const std::lock_guard lock( system.mutex );
    if ( IsInterrupted() )
        return { kFailed, 0, kErrorAborted };
    system.pipe = PipeHandle( CreateFileW(
        system.path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
        FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr ) );
    if ( !system.pipe.IsOpen() )
        return Failed( GetLastError() );
    // Another user may have created a pipe of this name first, to receive what is sent.
    return IsOfThisUser( system.pipe ) ? Outcome{} : Outcome{ kFailed, 0, kErrorAccess };
}

// ---- Transfer

/// Succeeds as soon as the system has the bytes to write; the next call reports the result.
WPipe::Outcome WPipe::TrySend( const void* inBytes, USize inCount )
{
    System& system = *itsSystem;
    const std::lock_guard lock( system.mutex );
    if ( IsInterrupted() || system.hasShutDown )
        return { kFailed, 0, kErrorAborted };
    DWORD error = 0;
    if ( !system.FinishWriting( error ) )
        return { kFailed, 0, kErrorWouldBlock };
    if ( error != 0 )
        return Failed( error );
    if ( !system.output )
        system.output = std::make_unique<std::uint8_t[]>( kCapacity );
    const DWORD count = static_cast<DWORD>( std::min<USize>( inCount, kCapacity ) );
    std::memcpy( system.output.get(), inBytes, count );
    if ( !WriteFile( system.pipe, system.output.get(), count, nullptr, system.writing.Begin() ) )
    {
        error = GetLastError();
        system.writing.isPending = error == ERROR_IO_PENDING;
        if ( !system.writing.isPending )
            return Failed( error );
    }
    return { kDone, count };
}

WPipe::Outcome WPipe::TryReceive( void* outBytes, USize inCount, bool inPeek )
{
    System& system = *itsSystem;
    const std::lock_guard lock( system.mutex );
    DWORD error = 0;
    // A pipe has no half-close: after a shutdown this side waits only until its last bytes have been written,
    // and reports the end.
    if ( system.hasShutDown )
        return system.FinishWriting( error ) ? Outcome{} : Outcome{ kFailed, 0, kErrorWouldBlock };
    error = system.FinishReading();
    // A peek waits for as many bytes as it asked for only while more are in the pipe.
    const bool hasEnough =
        system.GetHeld() > 0 && !( inPeek && system.GetHeld() < inCount && system.GetBytesInPipe() > 0 );
    if ( error == 0 && !hasEnough && !system.reading.isPending && system.GetHeld() < kCapacity &&
         !IsInterrupted() )
    {
        error = system.StartReading();
        if ( error == 0 )
            error = system.FinishReading();
    }
    if ( system.GetHeld() == 0 )
    {
        if ( IsInterrupted() || error == ERROR_BROKEN_PIPE || error == ERROR_PIPE_NOT_CONNECTED )
            return {};
        return error == 0 || error == ERROR_IO_INCOMPLETE ? Outcome{ kFailed, 0, kErrorWouldBlock }
                                                          : Failed( error );
    }
    const USize count = std::min( inCount, system.GetHeld() );
    std::memcpy( outBytes, system.input.get() + system.begin, count );
    if ( !inPeek )
        system.begin += count;
    return { kDone, count };
}

std::uint32_t WPipe::GetWaitingBytes() const
{
    const std::lock_guard lock( itsSystem->mutex );
    itsSystem->FinishReading();
    return static_cast<std::uint32_t>( itsSystem->GetHeld() + itsSystem->GetBytesInPipe() );
}

// ---- End

void WPipe::ShutDownSending()
{
    const std::lock_guard lock( itsSystem->mutex );
    itsSystem->hasShutDown = true;
}

bool WPipe::HasPeerClosed() const
{
    const std::lock_guard lock( itsSystem->mutex );
    return !PeekNamedPipe( itsSystem->pipe, nullptr, 0, nullptr, nullptr, nullptr );
}

void WPipe::EndConnection()
{
    const std::lock_guard lock( itsSystem->mutex );
    if ( itsSystem->pipe.IsOpen() && !itsSystem->hasShutDown )
        CancelIoEx( itsSystem->pipe, nullptr );
    itsSystem->ended.Set();
}

WWaitResult WPipe::SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool )
{
    enum : DWORD
    {
        kEnded = WAIT_OBJECT_0,
        kAlert,
        kReady,
    };
    System& system = *itsSystem;
    bool isOpen = false, isForWriting = false;
    {
        const std::lock_guard lock( system.mutex );
        isOpen = system.pipe.IsOpen();
        isForWriting = inDirection == kForWriting || system.hasShutDown;
    }
    const HANDLE alert =
        reinterpret_cast<HANDLE>( WSocketAlert::GetCurrent().GetHandle() ); // never rings unless alertable
    const HANDLE events[] = { system.ended, alert, isForWriting ? system.writing.done : system.reading.done };
    const bool hasEvent = isOpen && inDirection != kForPeeking;
    const std::uint32_t left = inDeadline.GetMillisecondsLeft();
    const std::uint32_t time =
        isOpen ? left : std::min( left, kRetryMS ); // nothing tells when a pipe is not busy
    switch ( WaitForMultipleObjects( hasEvent ? 3 : 2, events, FALSE, time ) )
    {
    case kAlert:
        return kWaitAlerted;
    case WAIT_TIMEOUT:
        return isOpen || inDeadline.HasPassed() ? kWaitTimedOut : kWaitSucceeded;
    default:
        return kWaitSucceeded;
    }
}
