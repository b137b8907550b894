#include "Sockets/WHTTPTransfer.h"

#include "Sockets/Internal/WAlertableScope.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <new>

#include <dlfcn.h>

#define CURL_DISABLE_DEPRECATION // old forms of options, for old libraries
#define CURL_DISABLE_TYPECHECK
#include <curl/curl.h>

// libcurl's multi interface with a single transfer: `perform` does what can be done without waiting, `poll`
// waits for its sockets and for the thread's alert, at most one slice of time. Between the two, received
// bytes are passed on and the client looks around, so an exception of the client leaves the loop and the
// destructor ends the transfer.

namespace
{

/// CURLOPT_QUICK_EXIT, for which headers before 7.87 have no name: an exchange that is given up does not wait for the name
/// of its host to be looked up, which may take a minute.
constexpr auto kDoNotAwaitName = static_cast<CURLoption>( 322 );

/// The functions of libcurl, which is loaded once and stays: with all that it needs it would delay the start of programs
/// that never ask.
class Library
{
public:
    static const Library& Get()
    {
        static const Library sLibrary;
        return sLibrary;
    }

    bool IsLoaded() const { return itsIsLoaded; }

    decltype( &curl_easy_init ) easyInit = nullptr;
    decltype( &curl_easy_setopt ) setOption = nullptr;
    decltype( &curl_easy_getinfo ) getInfo = nullptr;
    decltype( &curl_easy_strerror ) getText = nullptr;
    decltype( &curl_easy_cleanup ) easyCleanup = nullptr;
    decltype( &curl_slist_append ) append = nullptr;
    decltype( &curl_slist_free_all ) freeList = nullptr;
    decltype( &curl_multi_init ) multiInit = nullptr;
    decltype( &curl_multi_add_handle ) addHandle = nullptr;
    decltype( &curl_multi_remove_handle ) removeHandle = nullptr;
    decltype( &curl_multi_perform ) perform = nullptr;
    decltype( &curl_multi_poll ) poll = nullptr;
    decltype( &curl_multi_info_read ) readInfo = nullptr;
    decltype( &curl_multi_cleanup ) multiCleanup = nullptr;
    decltype( &curl_multi_strerror ) getMultiText = nullptr;

private:
    Library()
    {
        for ( const char* name : { "libcurl.so.4", "libcurl-gnutls.so.4" } )
            if ( !itsModule )
                itsModule = dlopen( name, RTLD_NOW | RTLD_LOCAL );
        decltype( &curl_global_init ) globalInit = nullptr;
        itsIsLoaded = itsModule && Find( "curl_global_init", globalInit ) &&
            Find( "curl_easy_init", easyInit ) && Find( "curl_easy_setopt", setOption ) &&
            Find( "curl_easy_getinfo", getInfo ) && Find( "curl_easy_strerror", getText ) &&
            Find( "curl_easy_cleanup", easyCleanup ) && Find( "curl_slist_append", append ) &&
            Find( "curl_slist_free_all", freeList ) && Find( "curl_multi_init", multiInit ) &&
            Find( "curl_multi_add_handle", addHandle ) && Find( "curl_multi_remove_handle", removeHandle ) &&
            Find( "curl_multi_perform", perform ) && Find( "curl_multi_poll", poll ) &&
            Find( "curl_multi_info_read", readInfo ) && Find( "curl_multi_cleanup", multiCleanup ) &&
            Find( "curl_multi_strerror", getMultiText ) && globalInit( CURL_GLOBAL_DEFAULT ) == CURLE_OK;
    }

    template<class TFunction>
    bool Find( const char* inName, TFunction& outFunction )
    {
        outFunction = reinterpret_cast<TFunction>( dlsym( itsModule, inName ) );
        return outFunction != nullptr;
    }

    void* itsModule = nullptr;
    bool itsIsLoaded = false;
};

WHTTPTransfer::Failure ToFailure( CURLcode inResult )
{
    switch ( inResult )
    {
    case CURLE_OK:
        return WHTTPTransfer::kNone;
    case CURLE_URL_MALFORMAT:
        return WHTTPTransfer::kBadURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return WHTTPTransfer::kHostNotFound;
    case CURLE_COULDNT_CONNECT:
        return WHTTPTransfer::kRefused;
    case CURLE_OPERATION_TIMEDOUT:
        return WHTTPTransfer::kTimedOut;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return WHTTPTransfer::kDisconnected;
    default:
        return WHTTPTransfer::kOther;
    }
}

/// The library's callbacks only store the received data, which is passed on outside of them, because
/// exceptions must not propagate through the library.
class Exchange : private WHTTPTransfer
{
public:
    Exchange( const Library& inLibrary, Client& ioClient )
        : itsLibrary( inLibrary ), itsClient( ioClient ), itsEasy( inLibrary.easyInit() ),
          itsMulti( inLibrary.multiInit() )
    {
    }
    Exchange( const Exchange& ) = delete;
    Exchange& operator=( const Exchange& ) = delete;
    ~Exchange()
    {
        itsLibrary.removeHandle( itsMulti, itsEasy );
        itsLibrary.easyCleanup( itsEasy );
        itsLibrary.multiCleanup( itsMulti );
        itsLibrary.freeList( itsFields );
    }

    Outcome Run( const Request& inRequest )
    {
        SetOptions( inRequest );
        itsLibrary.addHandle( itsMulti, itsEasy );
        for ( int running = 1;; Wait() )
        {
            if ( const CURLMcode result = itsLibrary.perform( itsMulti, &running ) )
                return { kOther, itsLibrary.getMultiText( result ) };
            PassOn();
            if ( running == 0 )
                return GetOutcome();
            LookAround();
        }
    }

private:
    template<class T>
    void Set( CURLoption inOption, T inValue )
    {
        itsLibrary.setOption( itsEasy, inOption, inValue );
    }

    void SetOptions( const Request& inRequest )
    {
        Set( CURLOPT_URL, inRequest.url.c_str() );
        Set( CURLOPT_PROTOCOLS, long( CURLPROTO_HTTP | CURLPROTO_HTTPS ) );
        // No signal handlers and alarms, which are not safe in a program with threads.
        Set( CURLOPT_NOSIGNAL, 1L );
        Set( kDoNotAwaitName, 1L );
        Set( CURLOPT_BUFFERSIZE, 128L * 1024 );
        Set( CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>( inRequest.connectTimeoutMS ) );
        Set( CURLOPT_ERRORBUFFER, static_cast<char*>( itsError ) );
        Set( CURLOPT_HEADERFUNCTION, &Exchange::TakeHead );
        Set( CURLOPT_HEADERDATA, this );
        Set( CURLOPT_WRITEFUNCTION, &Exchange::TakeBytes );
        Set( CURLOPT_WRITEDATA, this );
        if ( inRequest.method == "POST" )
        {
            Set( CURLOPT_POST, 1L );
            Set( CURLOPT_POSTFIELDS, inRequest.body.data() ? inRequest.body.data() : "" );
            Set( CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>( inRequest.body.size() ) );
        }
        for ( const std::string& field : inRequest.fields )
            AddField( field );
        AppendToList( "Content-Type:" ); // not to be guessed
        AppendToList( "Expect:" );       // would cost a wait for servers that do not know it
        Set( CURLOPT_HTTPHEADER, itsFields );
        if ( !inRequest.usesProxy )
            Set( CURLOPT_PROXY, "" );
        if ( inRequest.authorityFile.empty() )
            return;
        Set( CURLOPT_CAINFO, inRequest.authorityFile.c_str() );
        // Only the given authority is trusted, not those of the system.
        Set( CURLOPT_CAPATH, static_cast<const char*>( nullptr ) );
    }

    /// The library takes an empty value, as a line has it, for a field that it is not to send.
    void AddField( const std::string& inField )
    {
        const std::size_t colon = inField.find( ':' );
        const bool isEmpty = inField.find_first_not_of( " \t", colon + 1 ) == std::string::npos;
        AppendToList( isEmpty ? inField.substr( 0, colon ) + ";" : inField );
    }

    void AppendToList( const std::string& inLine )
    {
        curl_slist* const list = itsLibrary.append( itsFields, inLine.c_str() );
        if ( !list )
            throw std::bad_alloc();
        itsFields = list;
    }

    static std::size_t TakeHead( char* inBytes, std::size_t, std::size_t inCount, void* ioExchange ) noexcept
    {
        return Keep( static_cast<Exchange*>( ioExchange )->itsHead, inBytes, inCount );
    }
    static std::size_t TakeBytes( char* inBytes, std::size_t, std::size_t inCount, void* ioExchange ) noexcept
    {
        return Keep( static_cast<Exchange*>( ioExchange )->itsBody, inBytes, inCount );
    }

    /// Returns the number of bytes kept; the library takes a smaller one than its own as a failure.
    static std::size_t Keep( std::string& ioKept, const char* inBytes, std::size_t inCount ) noexcept
    {
        try
        {
            ioKept.append( inBytes, inCount );
            return inCount;
        }
        catch ( const std::bad_alloc& )
        {
            return 0;
        }
    }

    void PassOn()
    {
        for ( std::string_view head = itsHead; !head.empty(); )
        {
            const std::size_t end = std::min( head.find( '\n' ), head.size() - 1 ) + 1;
            const std::string_view line = head.substr( 0, end );
            // Needed at the end: the library reports success even if the connection ends within the head.
            itsIsInHead = line.starts_with( "HTTP/" ) || ( itsIsInHead && line != "\r\n" && line != "\n" );
            TakeLine( line, itsClient );
            head.remove_prefix( end );
        }
        itsHead.clear();
        if ( !itsBody.empty() )
            itsClient.TakeBody( itsBody );
        itsBody.clear();
    }

    bool IsConnected() const
    {
        curl_off_t connectedUs = 0;
        itsLibrary.getInfo( itsEasy, CURLINFO_PRETRANSFER_TIME_T, &connectedUs );
        return connectedUs > 0;
    }

    void LookAround()
    {
        curl_off_t sent = 0;
        itsLibrary.getInfo( itsEasy, CURLINFO_SIZE_UPLOAD_T, &sent );
        itsClient.LookAround( IsConnected(), static_cast<std::uint64_t>( sent ) );
    }

    /// Until something can be moved, an alert, or a slice of time.
    void Wait()
    {
        WAlertableScope scope( WThreadAlert::GetCurrent() );
        if ( scope.WasAlerted() )
            return;
        curl_waitfd alert{};
        const bool isAlertable = WThreadAlert::GetCurrent() != nullptr;
        if ( isAlertable )
            alert = {
                static_cast<curl_socket_t>( WSocketAlert::GetCurrent().GetHandle() ), CURL_WAIT_POLLIN, 0 };
        itsLibrary.poll( itsMulti, &alert, isAlertable ? 1 : 0, kSliceMS, nullptr );
        if ( alert.revents != 0 )
            scope.SetAlerted();
    }

    Outcome GetOutcome()
    {
        int left = 0;
        const CURLMsg* const message = itsLibrary.readInfo( itsMulti, &left );
        const CURLcode result = message ? message->data.result : CURLE_FAILED_INIT;
        if ( result == CURLE_OK && !itsIsInHead )
            return {};
        if ( result == CURLE_WRITE_ERROR )
            throw std::bad_alloc(); // as `Keep` could not
        if ( result == CURLE_OK )   // the library takes the end of the connection for that of the head
            return { kDisconnected, {} };
        const bool isMissing =
            result == CURLE_UNSUPPORTED_PROTOCOL && !IsConnected(); // else it is the reply's
        return {
            isMissing ? kNotAvailable : ToFailure( result ),
            itsError[0] != '\0' ? itsError : itsLibrary.getText( result ) };
    }

    const Library& itsLibrary;
    Client& itsClient;
    CURL* const itsEasy;
    CURLM* const itsMulti;
    curl_slist* itsFields = nullptr;
    char itsError[CURL_ERROR_SIZE] = {};
    std::string itsHead; // not passed on yet
    std::string itsBody;
    bool itsIsInHead = false;
};

/// Keeps the signal of a connection that has ended, which some libraries below libcurl let come, from the thread.
class NoPipeSignal
{
public:
    NoPipeSignal()
    {
        sigset_t pending;
        sigpending( &pending );
        itsWasPending = sigismember( &pending, SIGPIPE ) == 1;
        sigemptyset( &itsPipe );
        sigaddset( &itsPipe, SIGPIPE );
        pthread_sigmask( SIG_BLOCK, &itsPipe, &itsBefore );
    }
    NoPipeSignal( const NoPipeSignal& ) = delete;
    NoPipeSignal& operator=( const NoPipeSignal& ) = delete;
    ~NoPipeSignal()
    {
        // Removes a signal that came meanwhile, before the mask lets it through.
        constexpr timespec kNoTime{};
        if ( !itsWasPending )
            while ( sigtimedwait( &itsPipe, nullptr, &kNoTime ) < 0 && errno == EINTR )
                ;
        pthread_sigmask( SIG_SETMASK, &itsBefore, nullptr );
    }

private:
    sigset_t itsPipe;
    sigset_t itsBefore;
    bool itsWasPending;
};

} // namespace

WHTTPTransfer::Outcome WHTTPTransfer::Run( const Request& inRequest, Client& ioClient )
{
    const Library& library = Library::Get();
    if ( !library.IsLoaded() )
        return { kNotAvailable, "libcurl.so.4 cannot be loaded" };
    const NoPipeSignal noSignal;
    return Exchange( library, ioClient ).Run( inRequest );
}
