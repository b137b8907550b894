#pragma once

#include "Ground/XTypes.h"

/// Every class number of the stored formats; no other file defines one. Numbers from 2001 on are assigned in
/// the order in which classes were added. A number is never reused, even after its class is gone.
///
/// Applications number their own classes from `kFirstApplicationClassNumber` to 65535. All numbers below are
/// reserved for the library.
enum XClassNumber : std::uint32_t
{
    kClassNone = 0, ///< a null pointer in a stream

    kClassString = 35,
    kClassTime = 44,
    kClassStream = 0x31, ///< the stream format itself
    kClassNetAddress = 538,

    kClassRPCBridgeBase = 1300,
    kClassRPCBridge = 1301,
    kClassBidirectionalSession = 1302, ///< the preamble of reverse connections; not a class

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
    kClassAppVersion = 2008,
    kClassAppAndComputerInfo = 2009,
    kClassNetJob = 2010,
    kClassNetJobResult = 2011,
    kClassNetJobSharedData = 2012,
    kClassJobProgressInfo = 2013,
    kClassJobAttachmentInfo = 2014,
    kClassConnectionInfo = 2015,
    kClassLogonInfo = 2016,
    kClassLogonResult = 2017,
    kClassAssignedJobInfo = 2018,
    kClassNetJobCompletedMessage = 2019,
    kClassNetJobQueuePositionChangedMessage = 2020,
    kClassNetJobEvent = 2021,
    kClassNetJobStatus = 2022,
    kClassControlBridge = 2026,

    kFirstApplicationClassNumber = 32768,
};
