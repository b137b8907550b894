#include "Sockets/WHTTPTransfer.h"

#include "Sockets/Internal/WAlertableScope.h"
#include "Sockets/Windows/WEventObject.h"
#include "System/WSystemError.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include <winhttp.h>

#include "WNoSystemMacros.h" // needs to be behind the header above

// WinHTTP in its asynchronous mode: each step (send, write, receive the head, ask for data, read) is begun by
// a call and ended by a callback on a thread of the system, which sets an event that Wait sleeps on, together
// with the thread's alert. So an exchange can be given up at any time.
//
// Lifetime: callbacks come until HANDLE_CLOSING. Until then the request's state (Steps) owns itself through
// itsSelf, with the buffers that a step reads or writes.

namespace
{

std::wstring ToWide( std::string_view inText )
{
    return std::wstring( inText.begin(), inText.end() ); // ASCII
}

WHTTPTransfer::Failure ToFailure( DWORD inError )
{
    switch ( inError )
    {
    case 0:
        return WHTTPTransfer::kNone;
    case ERROR_WINHTTP_INVALID_URL:
    case ERROR_WINHTTP_UNRECOGNIZED_SCHEME:
        return WHTTPTransfer::kBadURL;
    case ERROR_WINHTTP_NAME_NOT_RESOLVED:
        return WHTTPTransfer::kHostNotFound;
    case ERROR_WINHTTP_CANNOT_CONNECT:
        return WHTTPTransfer::kRefused;
    case ERROR_WINHTTP_TIMEOUT:
        return WHTTPTransfer::kTimedOut;
    case ERROR_WINHTTP_CONNECTION_ERROR:
    case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:
        return WHTTPTransfer::kDisconnected;
    default:
        return WHTTPTransfer::kOther;
    }
}

std::string GetDetail( DWORD inError )
{
    if ( inError == ERROR_WINHTTP_SECURE_FAILURE )
        return "the certificate of the server is not valid";
    const std::string text = WSystemError::GetText( inError );
    return text.empty() ? "WinHTTP error " + std::to_string( inError ) : text;
}

class Handle
{
public:
    explicit Handle( HINTERNET inHandle ) : itsHandle( inHandle ) {}
    Handle( const Handle& ) = delete;
    Handle& operator=( const Handle& ) = delete;
    ~Handle() { Reset( nullptr ); }

    void Reset( HINTERNET inHandle )
    {
        if ( itsHandle )
            WinHttpCloseHandle( itsHandle );
        itsHandle = inHandle;
    }
    operator HINTERNET() const { return itsHandle; }

private:
    HINTERNET itsHandle;
};

/// What an exchange shares with the system, which calls back when a step is done. One that is given up in a step lives on
/// until the system has left it: at once on Windows, when nothing has come for a while under Wine.
class Steps : public std::enable_shared_from_this<Steps>
{
public:
    explicit Steps( const WHTTPTransfer::Request& inRequest )
        : itsSession( WinHttpOpen(
              L"", inRequest.usesProxy ? WINHTTP_ACCESS_TYPE_DEFAULT_PROXY : WINHTTP_ACCESS_TYPE_NO_PROXY,
              WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC ) )
    {
        const auto toTimeout = []( std::uint32_t inMS )
        { return static_cast<int>( std::clamp<std::uint32_t>( inMS, 1, 0x7FFFFFFF ) ); };
        const int connect = toTimeout( inRequest.connectTimeoutMS ),
                  stall = toTimeout( inRequest.stallTimeoutMS );
        if ( !itsSession )
            return;
        WinHttpSetTimeouts( itsSession, connect, connect, stall, stall );
        auto head = static_cast<DWORD>( stall );
        WinHttpSetOption( itsSession, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, &head, sizeof( head ) );
    }

    bool Open(
        const std::wstring& inHost, INTERNET_PORT inPort, const std::wstring& inMethod,
        const std::wstring& inTarget, bool inIsSecure )
    {
        if ( itsSession )
            itsConnection.Reset( WinHttpConnect( itsSession, inHost.c_str(), inPort, 0 ) );
        if ( !itsConnection )
            return false;
        itsRequest = WinHttpOpenRequest(
            itsConnection, inMethod.c_str(), inTarget.c_str(), nullptr, WINHTTP_NO_REFERER,
            WINHTTP_DEFAULT_ACCEPT_TYPES, inIsSecure ? WINHTTP_FLAG_SECURE : 0 );
        if ( !itsRequest )
            return false;
        DWORD disabled = WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_AUTHENTICATION;
        WinHttpSetOption( itsRequest, WINHTTP_OPTION_DISABLE_FEATURE, &disabled, sizeof( disabled ) );
        auto context = reinterpret_cast<DWORD_PTR>( this );
        WinHttpSetOption( itsRequest, WINHTTP_OPTION_CONTEXT_VALUE, &context, sizeof( context ) );
        itsSelf = shared_from_this(); // until the last call back
        WinHttpSetStatusCallback(
            itsRequest, &Steps::CallBack,
            WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES |
                WINHTTP_CALLBACK_FLAG_CONNECT_TO_SERVER,
            0 );
        return true;
    }

    /// Begins a step; returns 0 or the system's error.
    template<class TBegin>
    DWORD Begin( TBegin inBegin )
    {
        {
            const std::lock_guard lock( itsMutex );
            // Before the call: the callback may come before it returns.
            itsIsBusy = true;
        }
        DWORD error = 0;
        if ( !inBegin( itsRequest ) )
            error = GetLastError();
        if ( error == 0 || error == ERROR_IO_PENDING )
            return 0;
        const std::lock_guard lock( itsMutex );
        itsIsBusy = false;
        return error;
    }

    /// After `GetEvent` has been set: the error and the bytes of the step.
    DWORD End( DWORD& outCount )
    {
        const std::lock_guard lock( itsMutex );
        outCount = itsCount;
        return itsError;
    }

    /// The system makes no further callbacks after it has reported that the handle is closing.
    void Close()
    {
        if ( itsRequest )
            WinHttpCloseHandle( itsRequest );
    }

    bool IsConnected()
    {
        const std::lock_guard lock( itsMutex );
        return itsIsConnected;
    }

    HANDLE GetEvent() const { return itsHasCome; }
    HINTERNET GetRequest() const { return itsRequest; }

    /// What steps read or write, which has to last as long as they do.
    std::wstring fields;
    std::string buffer;

private:
    static void CALLBACK
    CallBack( HINTERNET, DWORD_PTR inContext, DWORD inStatus, LPVOID inInformation, DWORD inLength )
    {
        auto* const steps = reinterpret_cast<Steps*>( inContext );
        if ( !steps )
            return;
        switch ( inStatus )
        {
        case WINHTTP_CALLBACK_STATUS_CONNECTED_TO_SERVER:
        {
            const std::lock_guard lock( steps->itsMutex );
            steps->itsIsConnected = true;
            return;
        }
        case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
        case WINHTTP_CALLBACK_STATUS_WRITE_COMPLETE:
        case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
            return steps->EndStep( 0, 0 );
        case WINHTTP_CALLBACK_STATUS_DATA_AVAILABLE:
            return steps->EndStep( 0, *static_cast<DWORD*>( inInformation ) );
        case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
            return steps->EndStep( 0, inLength );
        case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
            return steps->EndStep( static_cast<WINHTTP_ASYNC_RESULT*>( inInformation )->dwError, 0 );
        case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
        {
            const auto self = std::move( steps->itsSelf );
            return;
        }
        default:
            return;
        }
    }

    void EndStep( DWORD inError, DWORD inCount )
    {
        {
            const std::lock_guard lock( itsMutex );
            // A step is ended once: an error may be reported by the call and by a callback.
            if ( !itsIsBusy )
                return;
            itsIsBusy = false;
            itsError = inError;
            itsCount = inCount;
        }
        itsHasCome.Set();
    }

    const Handle itsSession;
    Handle itsConnection{ nullptr };
    HINTERNET itsRequest = nullptr;
    std::shared_ptr<Steps> itsSelf;
    WEventObject itsHasCome{ false };
    std::mutex itsMutex;
    // Guarded by itsMutex:
    DWORD itsError = 0;
    DWORD itsCount = 0;
    bool itsIsConnected = false;
    bool itsIsBusy = false;
};

class Exchange : private WHTTPTransfer
{
public:
    Exchange( const Request& inRequest, Client& ioClient )
        : itsClient( ioClient ), itsSteps( std::make_shared<Steps>( inRequest ) )
    {
    }
    Exchange( const Exchange& ) = delete;
    Exchange& operator=( const Exchange& ) = delete;
    ~Exchange() { itsSteps->Close(); }

    Outcome Run( const Request& inRequest )
    {
        const DWORD error = TryToRun( inRequest );
        return { ToFailure( error ), error == 0 ? std::string() : GetDetail( error ) };
    }

private:
    /// Returns 0 or the system's error.
    DWORD TryToRun( const Request& inRequest )
    {
        if ( !Open( inRequest ) )
            return GetLastError();
        for ( const std::string& field : inRequest.fields )
            itsSteps->fields += ToWide( field ) + L"\r\n";
        const auto length = static_cast<DWORD>( inRequest.body.size() );
        const auto send = [&]( HINTERNET inHandle )
        {
            const std::wstring& fields = itsSteps->fields;
            return WinHttpSendRequest(
                inHandle, fields.empty() ? nullptr : fields.c_str(), static_cast<DWORD>( fields.size() ),
                nullptr, 0, length, reinterpret_cast<DWORD_PTR>( itsSteps.get() ) );
        };
        if ( const DWORD error = Do( send ) )
            return error;
        if ( const DWORD error = SendBody( inRequest.body ) )
            return error;
        if ( const DWORD error =
                 Do( []( HINTERNET inHandle ) { return WinHttpReceiveResponse( inHandle, nullptr ); } ) )
            return error;
        return PassHeadOn() ? ReceiveBody() : ERROR_WINHTTP_CONNECTION_ERROR;
    }

    bool Open( const Request& inRequest )
    {
        const std::wstring url = ToWide( inRequest.url );
        URL_COMPONENTS parts{};
        parts.dwStructSize = sizeof( parts );
        parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = static_cast<DWORD>( -1 );
        if ( !WinHttpCrackUrl( url.c_str(), 0, 0, &parts ) )
            return false;
        const std::wstring host( parts.lpszHostName, parts.dwHostNameLength );
        const std::wstring target = std::wstring( parts.lpszUrlPath, parts.dwUrlPathLength ) +
            std::wstring( parts.lpszExtraInfo, parts.dwExtraInfoLength );
        return itsSteps->Open(
            host, parts.nPort, ToWide( inRequest.method ), target, parts.nScheme == INTERNET_SCHEME_HTTPS );
    }

    DWORD SendBody( std::string_view inBody )
    {
        while ( !inBody.empty() )
        {
            std::string& piece = itsSteps->buffer;
            piece = inBody.substr( 0, kPiece );
            const auto write = [&]( HINTERNET inHandle ) {
                return WinHttpWriteData(
                    inHandle, piece.data(), static_cast<DWORD>( piece.size() ), nullptr );
            };
            if ( const DWORD error = Do( write ) )
                return error;
            inBody.remove_prefix( piece.size() );
            itsSent += piece.size();
        }
        return 0;
    }

    /// False where the head is cut short.
    bool PassHeadOn()
    {
        DWORD size = 0;
        WinHttpQueryHeaders(
            itsSteps->GetRequest(), WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX, nullptr,
            &size, WINHTTP_NO_HEADER_INDEX );
        std::wstring wide( size / sizeof( wchar_t ), L'\0' );
        if ( !WinHttpQueryHeaders(
                 itsSteps->GetRequest(), WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX,
                 wide.data(), &size, WINHTTP_NO_HEADER_INDEX ) )
            return false;
        std::string head;
        for ( const wchar_t character : wide.substr( 0, size / sizeof( wchar_t ) ) )
            head += static_cast<char>( character );
        for ( std::size_t begin = 0, end = 0; begin < head.size(); begin = end )
        {
            end = std::min( head.find( '\n', begin ), head.size() - 1 ) + 1;
            TakeLine( std::string_view( head ).substr( begin, end - begin ), itsClient );
        }
        return head.find( "\r\n\r\n" ) != std::string::npos;
    }

    DWORD ReceiveBody()
    {
        std::string& piece = itsSteps->buffer;
        piece.resize( kPiece );
        const auto await = []( HINTERNET inHandle )
        { return WinHttpQueryDataAvailable( inHandle, nullptr ); };
        for ( ;; )
        {
            if ( const DWORD error = Do( await ) )
                return error;
            if ( itsCount == 0 )
                return 0;
            // No more than there is: Wine waits for the rest of it in the call.
            const DWORD wanted = std::min<DWORD>( itsCount, kPiece );
            const auto read = [&]( HINTERNET inHandle )
            { return WinHttpReadData( inHandle, piece.data(), wanted, nullptr ); };
            if ( const DWORD error = Do( read ) )
                return error;
            itsClient.TakeBody( { piece.data(), itsCount } );
        }
    }

    /// Does a step to its end.
    template<class TBegin>
    DWORD Do( TBegin inBegin )
    {
        if ( const DWORD error = itsSteps->Begin( inBegin ) )
            return error;
        while ( !Wait() )
            LookAround();
        LookAround();
        return itsSteps->End( itsCount );
    }

    /// True when the step is done; else an alert or a slice of time is over.
    bool Wait()
    {
        WAlertableScope scope( WThreadAlert::GetCurrent() );
        if ( scope.WasAlerted() )
            return false;
        const HANDLE events[] = {
            itsSteps->GetEvent(), reinterpret_cast<HANDLE>( WSocketAlert::GetCurrent().GetHandle() ) };
        const DWORD result = WaitForMultipleObjects( 2, events, FALSE, kSliceMS );
        if ( result == WAIT_OBJECT_0 + 1 )
            scope.SetAlerted();
        return result == WAIT_OBJECT_0;
    }

    void LookAround() { itsClient.LookAround( itsSteps->IsConnected(), itsSent ); }

    static constexpr std::size_t kPiece = 64 * 1024;

    Client& itsClient;
    const std::shared_ptr<Steps> itsSteps;
    std::uint64_t itsSent = 0;
    DWORD itsCount = 0; // bytes of the last step
};

} // namespace

WHTTPTransfer::Outcome WHTTPTransfer::Run( const Request& inRequest, Client& ioClient )
{
    if ( !inRequest.authorityFile.empty() )
        return { kNotAvailable, "this system takes authorities from its own store only, not from a file" };
    if ( inRequest.body.size() > MAXDWORD )
        return { kNotAvailable, "this system sends no more than 4 GiB in a request" };
    return Exchange( inRequest, ioClient ).Run( inRequest );
}
