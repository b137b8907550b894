#pragma once

#include "Ground/XTypes.h"

/// The error numbers that the library throws, and those to which it translates system errors. The string
/// table has their texts. Numbers never change: logs, stored messages and other programs depend on them.
enum XErrorNumber : std::uint32_t
{
    // Core
    kErrorNotANumber = 1000,
    kErrorCancelled = 1001, ///< by the user; silent
    kErrorClassNotRegistered = 1003,
    kErrorNoCreationFunction = 1004,
    kErrorStreamCorrupted = 1005,
    kErrorInternal = 1006,
    kErrorTimeRange = 1007,
    kErrorOutOfMemory = 1012,
    kErrorBadParameters = 1013,
    kErrorRevisionTooNew = 1015,
    kErrorLibraryNotFound = 1016,
    kErrorFunctionNotFound = 1017,
    kErrorBadPointer = 1018,
    kErrorProcessExiting = 1019, ///< silent
    kErrorMemoryNotMapped = 1020,
    kErrorAccessDenied = 1021,
    kErrorMemoryNotPurged = 1023,
    kErrorUUIDText = 1026,
    kErrorNoReference = 1027,
    kErrorNoSystemResources = 1028,

    // Files and resources
    kErrorEndOfFile = 1260,
    kErrorNullCharacter = 1262,
    kErrorDiskFull = 1263,
    kErrorNoResource = 1279,
    kErrorStringTooLong = 1354,

    // Threads and jobs
    kErrorTimedOut = 2701,
    kErrorThreadStopped = 2702, ///< silent
    kErrorJobStopped = 2950,

    // Network and servers
    kErrorNetworkService = 3052,
    kErrorDeviceNotConnected = 3076,
    kErrorUnknownRPC = 3090, ///< a method called remotely threw an exception other than XException
    kErrorCallNotSupported = 3091,
    kErrorClientTooNew = 3092,
    kErrorClientTooOld = 3093,
    kErrorAuthenticationFailed = 3094,
    kErrorWrongStorable = 3095,
    kErrorSessionRequested = 3096, ///< a bidirectional session; no client has connected to it yet
    kErrorUnknownSession = 3097,
    kErrorCallAborted = 3098,
    kErrorSenderUnavailable = 3099,
    kErrorDisconnected = 3100,
    kErrorResponderDetached = 3101,
    kErrorHostNotFound = 3104,
    kErrorConnectionTimedOut = 3105,
    kErrorConnectionRefused = 3106,
    kErrorPasswordNotPermitted = 3112,
    kErrorNotPrimaryController = 3113,
    kErrorNoDomainInfo = 3114,
    kErrorTLSUnavailable = 3120,
    kErrorTLSFailed = 3121,         ///< the peer does not follow the protocol
    kErrorTLSVersion = 3122,        ///< the peer offers less than TLS 1.3
    kErrorTLSNoCertificate = 3123,  ///< the peer shows none
    kErrorTLSWrongAuthority = 3124, ///< the peer's certificate was issued by another authority
    kErrorTLSWrongName = 3125,      ///< the peer's certificate is for another role
    kErrorTLSExpired = 3126,        ///< the peer's certificate is not valid at this time
    kErrorTLSRejected = 3127,       ///< the peer rejects the certificate of this side
    kErrorKeysExposed = 3128,       ///< others may read or change a file with a secret
    kErrorUnknownUser = 3130,
    kErrorWrongPassword = 3131,
    kErrorUnknownColumnID = 3209,
};
