#pragma once

#include "Ground/XTypes.h"

/// How to fail, for code that stands below the exception classes. The definitions live with XException and the
/// platform's exceptions, so that strings, streams and semaphores need neither.

/// Throws `XException( inErrorNumber )`.
[[noreturn]] KORVALE_API void XThrow( std::uint32_t inErrorNumber );

/// Throws `WLastErrorException` for the calling thread's last system error, and clears that error.
[[noreturn]] KORVALE_API void XThrowLastSystemError();

/// Reports a broken invariant: writes a crash dump, an entry in the system's event log and one in the session log,
/// then throws `XInternalException` (1006). The texts are shown as they are given.
[[noreturn]] KORVALE_API void
KorvaleInternalError( const char* inExpression, const char* inFile, int inLine );

/// The failing side of XAssert: breaks into an attached debugger, then reports the internal error with `inSourceFile`
/// reduced to the form `..\X-Platform\<class>.cpp`: headers and sources that hold a part of a class name that class.
[[noreturn]] KORVALE_API void
XAssertionFailed( const char* inExpression, const char* inSourceFile, int inLine );

/// Checks an invariant in every build. The text of the report is the expression as it is written here, so it is part
/// of what users see: keep the spelling.
#define XAssert( ... )                                                                                       \
    ( ( __VA_ARGS__ ) ? static_cast<void>( 0 ) : XAssertionFailed( #__VA_ARGS__, __FILE__, __LINE__ ) )
