#include "Network/Linux/TestTLS.h"

#include "Files/WFilePath.h"
#include "Servers/XHTTPClient.h"

#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <filesystem>
#include <fstream>

#include <arpa/inet.h>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

/// Serves one request over TLS, as another make of server would.
struct HTTPSServer
{
    explicit HTTPSServer( const WCertificates::Certificate& inCertificate )
        : itsContext( SSL_CTX_new( TLS_server_method() ) ), itsSocket( socket( AF_INET, SOCK_STREAM, 0 ) )
    {
        BIO* const text =
            BIO_new_mem_buf( inCertificate.text.data(), static_cast<int>( inCertificate.text.size() ) );
        BIO* const key = BIO_new_mem_buf(
            inCertificate.privateKey.data(), static_cast<int>( inCertificate.privateKey.size() ) );
        X509* const certificate = PEM_read_bio_X509( text, nullptr, nullptr, nullptr );
        EVP_PKEY* const privateKey = PEM_read_bio_PrivateKey( key, nullptr, nullptr, nullptr );
        SSL_CTX_use_certificate( itsContext, certificate );
        SSL_CTX_use_PrivateKey( itsContext, privateKey );
        X509_free( certificate );
        EVP_PKEY_free( privateKey );
        BIO_free( text );
        BIO_free( key );
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
        socklen_t size = sizeof( address );
        bind( itsSocket, reinterpret_cast<sockaddr*>( &address ), size );
        getsockname( itsSocket, reinterpret_cast<sockaddr*>( &address ), &size );
        itsPort = ntohs( address.sin_port );
        listen( itsSocket, 1 );
        itsThread = std::thread( [this] { Serve(); } );
    }
    ~HTTPSServer()
    {
        shutdown( itsSocket, SHUT_RDWR );
        itsThread.join();
        close( itsSocket );
        SSL_CTX_free( itsContext );
    }

    std::string GetURL( const char* inHost ) const
    {
        return std::string( "https://" ) + inHost + ":" + std::to_string( itsPort ) + "/";
    }

private:
    void Serve() const
    {
        sigset_t pipe; // raised where the client refuses
        sigemptyset( &pipe );
        sigaddset( &pipe, SIGPIPE );
        pthread_sigmask( SIG_BLOCK, &pipe, nullptr );
        const int connection = accept( itsSocket, nullptr, nullptr );
        if ( connection < 0 )
            return;
        constexpr std::string_view kReply =
            "HTTP/1.1 302 Found\r\nLocation: http://localhost/\r\nContent-Length: 6\r\n\r\nsecret";
        SSL* const session = SSL_new( itsContext );
        SSL_set_fd( session, connection );
        char request[4096];
        if ( SSL_accept( session ) == 1 && SSL_read( session, request, sizeof( request ) ) > 0 )
            SSL_write( session, kReply.data(), kReply.size() );
        SSL_shutdown( session );
        SSL_free( session );
        close( connection );
    }

    SSL_CTX* const itsContext;
    const int itsSocket;
    int itsPort = 0;
    std::thread itsThread;
};

} // namespace

TEST( XHTTPClientTLSTest, TrustsItsAuthorityForTheNameAlone )
{
    const WCertificates::Certificate authority =
        WCertificates::MakeAuthority( "test", TestAuthority::kValid );
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ( "korvale-authority-" + std::to_string( getpid() ) );
    std::ofstream( file ) << authority.text;
    XHTTPClient::XSettings settings;
    settings.usesProxy = false;
    settings.mostRedirects = 0;
    const auto ask =
        [&]( const WCertificates::Certificate& inAuthority, const char* inName, const char* inHost )
    {
        const HTTPSServer server( WCertificates::Make( inAuthority, inName, TestAuthority::kValid ) );
        return XHTTPClient( settings ).Get( server.GetURL( inHost ) ).body;
    };
    EXPECT_ERROR( 3052, ask( authority, "localhost", "localhost" ) ); // the system does not trust it
    settings.authorityFile = file;
    EXPECT_EQ( ask( authority, "localhost", "localhost" ), "secret" );
    EXPECT_ERROR( 3052, ask( authority, "elsewhere", "localhost" ) );
    EXPECT_ERROR( 3052, ask( TestAuthority().Get(), "localhost", "localhost" ) );
    settings.mostRedirects = 5;
    EXPECT_ERROR( 3052, ask( authority, "localhost", "localhost" ) ); // on to http
    WFilePath::Remove( file );
}
