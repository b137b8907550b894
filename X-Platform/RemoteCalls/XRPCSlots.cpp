#include "RemoteCalls/XRPCSlots.h"

XRPCSlotBase::~XRPCSlotBase() = default;
