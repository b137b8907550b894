#include "RemoteCalls/XRPCSlot.h"

XRPCSlotBase::~XRPCSlotBase() = default;
