#pragma once

#include "Core/Errors/XException.h"

#include <gtest/gtest.h>

#include <cstdint>

/// The number of the exception that the action throws; fails and gives 0 if it throws none.
template<class Action>
std::uint32_t ErrorOf( Action inAction )
{
    try
    {
        inAction();
    }
    catch ( const XException& exception )
    {
        return exception.GetErrorNumber();
    }
    ADD_FAILURE() << "nothing was thrown";
    return 0;
}

inline std::string MessageOf( const XException& inException )
{
    return inException.GetRawErrorMessage().GetConstCharPtr();
}
