#pragma once

/// Calls what must not disturb its caller, such as a hook or a flush in a destructor: whatever it throws is lost.
/// Internal.
template<class Action>
void XSwallowErrors( Action inAction ) noexcept
{
    try
    {
        inAction();
    }
    catch ( ... )
    {
    }
}
