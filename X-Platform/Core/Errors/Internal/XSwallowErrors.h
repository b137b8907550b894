#pragma once

/// Calls `inAction` and swallows every exception it throws; `inOnError` is then called within the catch
/// clause. For hooks and for flushes in destructors, whose failure must not reach the caller. Internal.
template<class TAction, class TOnError = void ( * )()>
void XSwallowErrors(
    TAction inAction, TOnError inOnError = [] {} ) noexcept
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
