#include "Sockets/WPipe.h"

#include "Sockets/Linux/WSocketDescriptor.h"
#include "System/Linux/WErrno.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

// A pipe is a Unix-domain socket in a folder of the user with mode 0700, so other users cannot reach it; the
// credentials of the peer are checked all the same, as the folder may be on a path that was prepared by
// somebody else.
//
// The name of a socket is a file that outlives its process. A listener that finds the name taken connects to
// it: if nobody answers (ECONNREFUSED), the name is abandoned and is replaced. Looking, removing and binding
// are one step under a lock of the folder (flock, which ends with its process), or two listeners could each
// remove the other's new name. A listener removes its name only if it still is its own, by device and inode.

namespace
{

constexpr std::uint32_t kRetryMS = 10;

const char* GetAbsolute( const char* inVariable )
{
    const char* const path = std::getenv( inVariable );
    return path && *path == '/' ? path : nullptr;
}

std::string GetFolder()
{
    if ( const char* const runtime = GetAbsolute( "XDG_RUNTIME_DIR" ) )
        return std::string( runtime ) + "/korvale";
    const char* const temporary = GetAbsolute( "TMPDIR" );
    return std::string( temporary ? temporary : "/tmp" ) + "/korvale-" + std::to_string( geteuid() );
}

/// Creates the folder if it is missing. Only the user may have access to it.
void PrepareFolder( const std::string& inPath )
{
    if ( mkdir( inPath.c_str(), 0700 ) != 0 && errno != EEXIST )
        WThrowErrno();
    struct stat status = {};
    if ( lstat( inPath.c_str(), &status ) != 0 )
        WThrowErrno();
    if ( !S_ISDIR( status.st_mode ) || status.st_uid != geteuid() || ( status.st_mode & 077 ) != 0 )
        WThrowErrno( EACCES );
}

/// Held while names in the folder change hands.
class FolderLock
{
public:
    explicit FolderLock( const std::string& inFolder )
        : itsDescriptor( open(
              ( inFolder + "/.lock" ).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW,
              S_IRUSR | S_IWUSR ) )
    {
        if ( itsDescriptor < 0 )
            WThrowErrno();
        while ( flock( itsDescriptor, LOCK_EX ) != 0 && errno == EINTR )
            ;
    }
    FolderLock( const FolderLock& ) = delete;
    FolderLock& operator=( const FolderLock& ) = delete;
    ~FolderLock() { close( itsDescriptor ); }

private:
    const int itsDescriptor;
};

/// Throws for a path that is too long.
sockaddr_un ToSystemName( const std::string& inPath )
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if ( inPath.size() >= sizeof( address.sun_path ) )
        WThrowErrno( ENAMETOOLONG );
    std::memcpy( address.sun_path, inPath.c_str(), inPath.size() );
    return address;
}

int Connect( const WSocketDescriptor& inSocket, const std::string& inPath )
{
    const sockaddr_un address = ToSystemName( inPath );
    return connect( inSocket.Get(), reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) );
}

/// Returns 0 or the error.
int Bind( const WSocketDescriptor& inSocket, const std::string& inPath )
{
    const sockaddr_un address = ToSystemName( inPath );
    const int result =
        bind( inSocket.Get(), reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) );
    return result == 0 ? 0 : errno;
}

bool IsPeerOfThisUser( const WSocketDescriptor& inSocket )
{
    ucred peer{};
    socklen_t size = sizeof( peer );
    return getsockopt( inSocket.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &size ) == 0 && peer.uid == geteuid();
}

/// Whether the path is a socket without a listener. Called under the lock of the folder.
bool IsAbandoned( const std::string& inPath )
{
    struct stat status = {};
    if ( lstat( inPath.c_str(), &status ) != 0 || !S_ISSOCK( status.st_mode ) )
        return false;
    const WSocketDescriptor probe = WSocketDescriptor::Open( AF_UNIX );
    return Connect( probe, inPath ) != 0 && errno == ECONNREFUSED;
}

} // namespace

struct WPipe::System
{
    ~System()
    {
        if ( isListening )
            GiveNameUp();
    }

    /// Releases the name unless another listener has taken it. If the lock, which needs a descriptor, is not
    /// available, the name stays for the next listener.
    void GiveNameUp() const noexcept
    try
    {
        const FolderLock lock( path.substr( 0, path.rfind( '/' ) ) );
        struct stat status = {};
        if ( lstat( path.c_str(), &status ) == 0 && status.st_ino == number && status.st_dev == device )
            unlink( path.c_str() );
    }
    catch ( ... )
    {
    }

    WSocketDescriptor socket;
    std::string path = {};
    bool isListening = false;
    ino_t number = 0; // of the listener's name
    dev_t device = 0;
    std::atomic<bool> isConnected = false;
};

// ---- Life

WPipe::WPipe( const std::string& inName )
    : WPipe( std::unique_ptr<System>( new System{ WSocketDescriptor::Open( AF_UNIX ), GetPath( inName ) } ) )
{
}

WPipe::WPipe( std::unique_ptr<System> inSystem ) : itsSystem( std::move( inSystem ) ) {}

WPipe::~WPipe() = default;

std::string WPipe::GetPath( const std::string& inName )
{
    return GetFolder() + "/" + inName;
}

// ---- Connections

WPipe::Outcome WPipe::Listen( std::uint32_t inBacklog )
{
    const std::string folder = GetFolder();
    PrepareFolder( folder );
    const FolderLock lock( folder );
    System& system = *itsSystem;
    fchmod( system.socket.Get(), S_IRUSR | S_IWUSR ); // the name takes it over
    int error = Bind( system.socket, system.path );
    if ( error == EADDRINUSE && IsAbandoned( system.path ) )
    {
        unlink( system.path.c_str() );
        error = Bind( system.socket, system.path );
    }
    if ( error != 0 )
        return WSocketDescriptor::Failed( error );
    struct stat status = {};
    lstat( system.path.c_str(), &status );
    system.number = status.st_ino;
    system.device = status.st_dev;
    system.isListening = true;
    return system.socket.Listen( inBacklog );
}

WPipe::Outcome WPipe::TryAccept( WConnectionPtr& outConnection )
{
    int descriptor = -1;
    const Outcome outcome = itsSystem->socket.TryAccept( descriptor );
    if ( outcome.status != kDone )
        return IsInterrupted() ? Outcome{ kFailed, 0, kErrorAborted } : outcome;
    std::unique_ptr<System> system( new System{ WSocketDescriptor( descriptor ) } );
    // The descriptor is closed with `system`.
    if ( !IsPeerOfThisUser( system->socket ) )
        return { kFailed, 0, kErrorWouldBlock }; // the next one may be of this user
    system->isConnected = true;
    outConnection.reset( new WPipe( std::move( system ) ) );
    return {};
}

WPipe::Outcome WPipe::StartConnecting()
{
    return TryFinishConnecting();
}

/// The system connects at once or not at all.
WPipe::Outcome WPipe::TryFinishConnecting()
{
    if ( IsInterrupted() )
        return { kFailed, 0, kErrorAborted };
    if ( Connect( itsSystem->socket, itsSystem->path ) != 0 )
        return WSocketDescriptor::Failed( errno == ENOENT || errno == ENOTDIR ? ECONNREFUSED : errno );
    if ( !IsPeerOfThisUser( itsSystem->socket ) )
        return { kFailed, 0, kErrorAccess };
    itsSystem->isConnected = true;
    return {};
}

// ---- Transfer

WPipe::Outcome WPipe::TrySend( const void* inBytes, USize inCount )
{
    return itsSystem->socket.TrySend( inBytes, inCount );
}

WPipe::Outcome WPipe::TryReceive( void* outBytes, USize inCount, bool inPeek )
{
    return itsSystem->socket.TryReceive( outBytes, inCount, inPeek );
}

std::uint32_t WPipe::GetWaitingBytes() const
{
    return itsSystem->socket.GetWaitingBytes();
}

// ---- End

void WPipe::ShutDownSending()
{
    itsSystem->socket.ShutDownSending();
}

bool WPipe::HasPeerClosed() const
{
    return itsSystem->socket.HasPeerClosed();
}

void WPipe::EndConnection()
{
    itsSystem->socket.End();
}

/// One that has to connect yet has nothing to wait for: the system does not tell when the listener has room.
WWaitResult WPipe::SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool inAlertable )
{
    if ( itsSystem->isConnected || itsSystem->isListening )
    {
        constexpr short kEvents[] = { POLLIN, POLLOUT, POLLRDHUP };
        return itsSystem->socket.Sleep( kEvents[inDirection], inDeadline, inAlertable );
    }
    const WDeadline retry( std::min( inDeadline.GetMillisecondsLeft(), kRetryMS ) );
    const WWaitResult result = WSocketDescriptor( -1 ).Sleep( 0, retry, inAlertable );
    return result == kWaitTimedOut && !inDeadline.HasPassed() ? kWaitSucceeded : result;
}
