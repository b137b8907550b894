#pragma once

/// The system's headers for sockets, with the necessary definitions.

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

/// Initialises the system's sockets once for the process. Throws the system's last error.
void WStartSockets();
