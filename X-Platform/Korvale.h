#pragma once

/// Every public header of the library, floor by floor.

// Core
#include "Core/XException.h"
#include "Core/XInternalErrorHandlers.h"
#include "Core/XInternalException.h"
