#include "Sockets/WHTTPTransfer.h"

#include "Sockets/Internal/WAlertableScope.h"
#include "Sockets/Windows/WEventObject.h"
#include "System/WSystemError.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include <winhttp.h>

#include "WNoSystemMacros.h" // needs to be behind the header above

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

/// The steps of an exchange are begun one after the other; the system calls back when one is done.
class Exchange : private WHTTPTransfer
{
public:
    Exchange( const Request& inRequest, Client& ioClient )
        : itsClient( ioClient ),
          itsSession( WinHttpOpen(
              L"", inRequest.usesProxy ? WINHTTP_ACCESS_TYPE_DEFAULT_PROXY : WINHTTP_ACCESS_TYPE_NO_PROXY,
              WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC ) ),
          itsConnection( nullptr ), itsRequest( nullptr )
    {
    }
    Exchange( const Exchange& ) = delete;
    Exchange& operator=( const Exchange& ) = delete;

    /// Waits for the last call back.
    ~Exchange()
    {
        if ( !itsRequest )
            return;
        WinHttpCloseHandle( itsRequest );
        if ( itsHasCallBack )
            WaitForSingleObject( itsHasClosed, INFINITE );
    }

    Outcome Run( const Request& inRequest )
    {
        const DWORD error = TryToRun( inRequest );
        return { ToFailure( error ), error == 0 ? std::string() : GetDetail( error ) };
    }

private:
    /// Returns 0 or the system's error.
    DWORD TryToRun( const Request& inRequest )
    {
        if ( !itsSession || !Open( inRequest ) )
            return GetLastError();
        std::wstring fields;
        for ( const std::string& field : inRequest.fields )
            fields += ToWide( field ) + L"\r\n";
        const auto context = reinterpret_cast<DWORD_PTR>( this );
        const auto length = static_cast<DWORD>( inRequest.body.size() );
        const auto send = [&]
        {
            return WinHttpSendRequest(
                itsRequest, fields.empty() ? nullptr : fields.c_str(), static_cast<DWORD>( fields.size() ),
                nullptr, 0, length, context );
        };
        if ( const DWORD error = Do( send ) )
            return error;
        if ( const DWORD error = SendBody( inRequest.body ) )
            return error;
        if ( const DWORD error = Do( [&] { return WinHttpReceiveResponse( itsRequest, nullptr ); } ) )
            return error;
        PassHeadOn();
        return ReceiveBody();
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
        const int timeout =
            static_cast<int>( std::min<std::uint32_t>( inRequest.connectTimeoutMs, 0x7FFFFFFF ) );
        WinHttpSetTimeouts( itsSession, timeout, timeout, 0, 0 ); // the caller watches over the rest
        itsConnection.Reset( WinHttpConnect( itsSession, host.c_str(), parts.nPort, 0 ) );
        if ( !itsConnection )
            return false;
        itsRequest = WinHttpOpenRequest(
            itsConnection, ToWide( inRequest.method ).c_str(), target.c_str(), nullptr, WINHTTP_NO_REFERER,
            WINHTTP_DEFAULT_ACCEPT_TYPES, parts.nScheme == INTERNET_SCHEME_HTTPS ? WINHTTP_FLAG_SECURE : 0 );
        if ( !itsRequest )
            return false;
        DWORD disabled = WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_AUTHENTICATION;
        WinHttpSetOption( itsRequest, WINHTTP_OPTION_DISABLE_FEATURE, &disabled, sizeof( disabled ) );
        auto context = reinterpret_cast<DWORD_PTR>( this );
        WinHttpSetOption( itsRequest, WINHTTP_OPTION_CONTEXT_VALUE, &context, sizeof( context ) );
        itsHasCallBack = WinHttpSetStatusCallback(
                             itsRequest, &Exchange::CallBack,
                             WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES |
                                 WINHTTP_CALLBACK_FLAG_CONNECT_TO_SERVER,
                             0 ) != WINHTTP_INVALID_STATUS_CALLBACK;
        return itsHasCallBack;
    }

    DWORD SendBody( std::string_view inBody )
    {
        constexpr std::size_t kPiece = 64 * 1024;
        while ( !inBody.empty() )
        {
            const auto count = static_cast<DWORD>( std::min( inBody.size(), kPiece ) );
            const auto write = [&] { return WinHttpWriteData( itsRequest, inBody.data(), count, nullptr ); };
            if ( const DWORD error = Do( write ) )
                return error;
            inBody.remove_prefix( count );
            itsSent += count;
        }
        return 0;
    }

    void PassHeadOn()
    {
        DWORD size = 0;
        WinHttpQueryHeaders(
            itsRequest, WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX, nullptr, &size,
            WINHTTP_NO_HEADER_INDEX );
        std::wstring wide( size / sizeof( wchar_t ), L'\0' );
        if ( !WinHttpQueryHeaders(
                 itsRequest, WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX, wide.data(), &size,
                 WINHTTP_NO_HEADER_INDEX ) )
            return;
        std::string head;
        for ( const wchar_t character : wide.substr( 0, size / sizeof( wchar_t ) ) )
            head += static_cast<char>( character );
        for ( std::size_t begin = 0, end = 0; begin < head.size(); begin = end )
        {
            end = std::min( head.find( '\n', begin ), head.size() - 1 ) + 1;
            TakeLine( std::string_view( head ).substr( begin, end - begin ), itsClient );
        }
    }

    DWORD ReceiveBody()
    {
        constexpr DWORD kPiece = 64 * 1024;
        itsBuffer = std::make_unique<char[]>( kPiece ); // outlives the request
        for ( ;; )
        {
            if ( const DWORD error =
                     Do( [&] { return WinHttpReadData( itsRequest, itsBuffer.get(), kPiece, nullptr ); } ) )
                return error;
            if ( itsCount == 0 )
                return 0;
            itsClient.TakeBody( { itsBuffer.get(), itsCount } );
        }
    }

    /// Begins a step and waits for its end.
    template<class TBegin>
    DWORD Do( TBegin inBegin )
    {
        if ( !inBegin() )
            if ( const DWORD error = GetLastError(); error != ERROR_IO_PENDING )
                return error;
        while ( !Wait() )
            LookAround();
        LookAround();
        const std::lock_guard lock( itsMutex );
        itsCount = itsCallbackCount;
        return itsCallbackError;
    }

    /// True when the step is done; else an alert or a slice of time is over.
    bool Wait()
    {
        WAlertableScope scope( WThreadAlert::GetCurrent() );
        if ( scope.WasAlerted() )
            return false;
        const HANDLE events[] = {
            itsHasCome, reinterpret_cast<HANDLE>( WSocketAlert::GetCurrent().GetHandle() ) };
        const DWORD result = WaitForMultipleObjects( 2, events, FALSE, kSliceMs );
        if ( result == WAIT_OBJECT_0 + 1 )
            scope.SetHasHeard();
        return result == WAIT_OBJECT_0;
    }

    void LookAround()
    {
        bool isConnected = false;
        {
            const std::lock_guard lock( itsMutex );
            isConnected = itsIsConnected;
        }
        itsClient.LookAround( isConnected, itsSent );
    }

    static void CALLBACK
    CallBack( HINTERNET, DWORD_PTR inContext, DWORD inStatus, LPVOID inInformation, DWORD inLength )
    {
        auto* const exchange = reinterpret_cast<Exchange*>( inContext );
        if ( !exchange )
            return;
        switch ( inStatus )
        {
        case WINHTTP_CALLBACK_STATUS_CONNECTED_TO_SERVER:
        {
            const std::lock_guard lock( exchange->itsMutex );
            exchange->itsIsConnected = true;
            break;
        }
        case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
        case WINHTTP_CALLBACK_STATUS_WRITE_COMPLETE:
        case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
            return exchange->EndStep( 0, 0 );
        case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
            return exchange->EndStep( 0, inLength );
        case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
            return exchange->EndStep( static_cast<WINHTTP_ASYNC_RESULT*>( inInformation )->dwError, 0 );
        case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
            exchange->itsHasClosed.Set();
            break;
        default:
            break;
        }
    }

    void EndStep( DWORD inError, DWORD inCount )
    {
        {
            const std::lock_guard lock( itsMutex );
            itsCallbackError = inError;
            itsCallbackCount = inCount;
        }
        itsHasCome.Set();
    }

    Client& itsClient;
    WEventObject itsHasCome{ false };
    WEventObject itsHasClosed{ true };
    std::unique_ptr<char[]> itsBuffer;
    std::uint64_t itsSent = 0;
    DWORD itsCount = 0;
    std::mutex itsMutex;
    // Guarded by itsMutex:
    DWORD itsCallbackError = 0;
    DWORD itsCallbackCount = 0;
    bool itsIsConnected = false;

    const Handle itsSession;
    Handle itsConnection;
    HINTERNET itsRequest;
    bool itsHasCallBack = false;
};

} // namespace

WHTTPTransfer::Outcome WHTTPTransfer::Run( const Request& inRequest, Client& ioClient )
{
    if ( !inRequest.authorityFile.empty() )
        return { kNotAvailable, "this system takes authorities from its own store only, not from a file" };
    return Exchange( inRequest, ioClient ).Run( inRequest );
}
