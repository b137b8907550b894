#pragma once

/// Calls `inAction` and swallows every exception it throws; `inOnError` is then called within the catch
/// clause. For hooks and for flushes in destructors, whose failure must not reach the caller. Internal.
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
