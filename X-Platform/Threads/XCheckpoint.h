#pragma once

#include "WPlatform.h"

/// The calling thread's checkpoint, for the locks, which stand below XThread. Same as
/// `XThread::TestCancelCurrentThread()`; nothing on a thread that no XThread owns.
KORVALE_API void XRunCheckpoint();
