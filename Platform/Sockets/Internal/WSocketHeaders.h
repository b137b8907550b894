#pragma once

/// The system's headers for sockets, and what makes them usable.

#if defined( _WIN32 )
    #include <winsock2.h>
    #include <ws2tcpip.h>
#else
    #include <arpa/inet.h>
    #include <netdb.h>
    #include <netinet/in.h>
    #include <sys/socket.h>
    #include <unistd.h>
#endif

/// Makes the system's sockets ready for the process, once, until its end. Throws the system's last error.
void WStartSockets();
