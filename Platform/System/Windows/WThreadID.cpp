#include "System/WThreadID.h"

namespace
{

const std::uint32_t sLoadingThreadID = WThreadID::GetCurrent(); // of the thread that loads the library

}

std::uint32_t WThreadID::GetMain()
{
    return sLoadingThreadID;
}
