#pragma once

#include "WPlatform.h"

#include <cstdint>

/// The queue of jobs that run on other machines, as clients see it; here the records that it exchanges with the control
/// service, and what these name.
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

    /// How the data of jobs gets from one part to another.
    enum XDataTransferMethod : std::uint32_t
    {
        kTransferDirect = 0,      ///< the source connects to the destination's data server
        kTransferRelayed = 1,     ///< both connect to the control service, which passes the data on
        kTransferSharedFiles = 2, ///< not at all: the destination reads the same files itself
    };
};
