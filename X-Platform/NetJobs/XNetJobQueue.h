#pragma once

#include "WPlatform.h"

#include <cstdint>

/// Scope of the records that clients exchange with the control service.
class KORVALE_API XNetJobQueue
{
public:
    class XConnectionInfo;
    class XJobAttachmentInfo;
    class XJobProgressInfo;
    class XLogonResult;

    /// The parts of a deployment.
    enum XRemoteType : std::uint32_t
    {
        kRemoteClient = 0,  ///< owns jobs
        kRemoteControl = 1, ///< schedules them
        kRemoteNode = 2,    ///< runs them
    };

    /// How the data of jobs is transferred between two parts.
    enum XDataTransferMethod : std::uint32_t
    {
        kTransferDirect = 0,      ///< the source connects to the destination's data server
        kTransferRelayed = 1,     ///< both connect to the control service, which relays the data
        kTransferSharedFiles = 2, ///< no transfer: the destination reads the same files itself
    };
};
