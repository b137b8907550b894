#pragma once

#include "Ground/XTypes.h"

/// Functions that throw, for code below the exception classes. They are defined beside XException and the
/// platform's exceptions, so that strings, streams and semaphores do not depend on these.

/// Throws `XException( inErrorNumber )`.
[[noreturn]] KORVALE_API void XThrow( std::uint32_t inErrorNumber );

/// Throws `WLastErrorException` for the calling thread's last system error, and clears that error.
[[noreturn]] KORVALE_API void XThrowLastSystemError();

/// Reports a broken invariant: writes a crash dump, an entry in the system's event log and one in the session
/// log, then throws `XInternalException` (1006). The texts are shown unchanged.
[[noreturn]] KORVALE_API void
KorvaleInternalError( const char* inExpression, const char* inFile, int inLine );

/// Called when an XAssert fails: breaks into an attached debugger, then reports the internal error with
/// `inSourceFile` reduced to the form `..\X-Platform\<class>.cpp`; for headers and for sources that hold part
/// of a class, the class is that one.
[[noreturn]] KORVALE_API void
XAssertionFailed( const char* inExpression, const char* inSourceFile, int inLine );

/// Checks an invariant in every build. The report shows the expression as it is written here, so its spelling
/// is visible to users: keep it.
#define XAssert( ... )                                                                                       \
    ( ( __VA_ARGS__ ) ? static_cast<void>( 0 ) : XAssertionFailed( #__VA_ARGS__, __FILE__, __LINE__ ) )
