#pragma once

#include "Ground/XFail.h"
#include "System/WSystemError.h"

#include <cerrno>

/// Throws WLastErrorException for a value of errno.
[[noreturn]] inline void WThrowErrno( int inErrno = errno )
{
    WSystemError::SetLast( WSystemError::FromErrno( inErrno ) );
    XThrowLastSystemError();
}
