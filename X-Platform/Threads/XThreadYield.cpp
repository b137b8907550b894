#include "Threads/XThreadYield.h"

#include "Threads/XThread.h"

void XThreadYield::Yield()
{
    XThread::YieldCurrentThread();
}
