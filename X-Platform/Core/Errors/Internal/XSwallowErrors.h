#pragma once

/// Calls what must not disturb its caller, such as a hook or a flush in a destructor: whatever it throws is lost, or for
/// `inOnError`, which is called where it can be caught. Internal.
template<class Action, class OnError = void ( * )()>
void XSwallowErrors(
    Action inAction, OnError inOnError = [] {} ) noexcept
{
    try
    {
        inAction();
    }
    catch ( ... )
    {
        inOnError();
    }
}
