#pragma once

#include "WPlatform.h"

#include <cstdint>

/// Scope of the records that nodes exchange with the control service.
class KORVALE_API XNetJobQueueNode
{
public:
    class XAssignedJobInfo;
    class XLogonInfo;

    enum XNodeType : std::uint32_t
    {
        kNodePermanent = 0, ///< stays until it is shut down; its loss is reported as a failure
        kNodeTemporary = 1, ///< started by a batch system, which may end it at any time
    };
};
