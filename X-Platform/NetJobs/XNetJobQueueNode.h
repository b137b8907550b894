#pragma once

#include "WPlatform.h"

#include <cstdint>

/// A process that runs jobs of other machines; here the records that it exchanges with the control service, and what these
/// name.
class KORVALE_API XNetJobQueueNode
{
public:
    class XAssignedJobInfo;
    class XLogonInfo;

    enum XNodeType : std::uint32_t
    {
        kNodePermanent = 0, ///< stays, and is missed when it goes
        kNodeTemporary = 1, ///< started for a while by an engine that may end it at any time
    };
};
