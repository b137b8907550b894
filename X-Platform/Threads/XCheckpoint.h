#pragma once

#include "WPlatform.h"

/// Runs the calling thread's checkpoint, for the locks, which are below XThread. Same as
/// `XThread::TestCancelCurrentThread()`; does nothing on a thread without an XThread.
KORVALE_API void XRunCheckpoint();
