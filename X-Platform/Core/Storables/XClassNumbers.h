#pragma once

#include "Ground/XTypes.h"

/// Every class number of the stored formats: the one place where they are written down. Numbers from 2001 on
/// were given in the order in which their classes came to be; a number is never used twice, not even after
/// its class is gone.
///
/// Applications number their own classes from `kFirstApplicationClassNumber` on, up to 65535. The library keeps all
/// numbers below to itself.
enum XClassNumber : std::uint32_t
{
    kClassNone = 0, ///< a null pointer in a stream

    kClassString = 35,
    kClassTime = 44,
    kClassStream = 0x31, ///< the stream format itself
    kClassNetAddress = 538,

    kClassRPCBridgeBase = 1300,
    kClassRPCBridge = 1301,
    kClassBidirectionalSession = 1302, ///< the preamble of reverse connections; no class

    kClassPivotColumnDescriptor = 1452,
    kClassPivotColumn = 1453,
    kClassPivotStringColumn = 1454,
    kClassPivotFloatColumn = 1455,
    kClassPivotUInt32Column = 1456,
    kClassPivotSInt32Column = 1457,
    kClassPivotTimeColumn = 1458,
    kClassPivotUUIDColumn = 1460,
    kClassPivotVersionColumn = 1477,
    kClassPivotRowRefColumn = 1478,
    kClassPivotOtherRowRefColumn = 1479,
    kClassPivotUnknownColumn = 1480,
    kClassPivotTableAccumulator = 1482,

    kFirstOpenClassNumber = 2001,
    kClassPivotTable = 2001,
    kClassRemoteMessage = 2002,
    kClassNetJobMessage = 2003,
    kClassProgressChangedMessage = 2004,
    kClassMemoryHandle = 2005,
    kClassRemoteNotifyMessage = 2006,
    kClassLPCBridge = 2007,
    kClassControlBridge = 2026,

    kFirstApplicationClassNumber = 32768,
};
