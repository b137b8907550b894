#pragma once

#include "Core/XFail.h"
#include "WSystemError.h"

#include <cerrno>

/// Throws WLastErrorException for a value of errno.
[[noreturn]] inline void WThrowErrno( int inErrno = errno )
{
    WSystemError::SetLast( WSystemError::FromErrno( inErrno ) );
    XThrowLastSystemError();
}
