#pragma once

/// Every public header of the library, floor by floor.

// Core
#include "Core/XARGB32Colour.h"
#include "Core/XByteOrder.h"
#include "Core/XClassNumbers.h"
#include "Core/XClassRegistry.h"
#include "Core/XException.h"
#include "Core/XFileStream.h"
#include "Core/XInternalErrorHandlers.h"
#include "Core/XInternalException.h"
#include "Core/XMemStream.h"
#include "Core/XStreamVectors.h"
#include "Core/XString.h"
#include "Core/XStringStream.h"
#include "Core/XTime.h"
#include "Core/XTimePeriod.h"
#include "Core/XTimer.h"
#include "Core/XUUID.h"
