// No #pragma once: every inclusion removes the macros again, however often <windows.h> has come in between.

// The system's headers define these as macros, which would rename the library's functions of the same names or make
// nothing of a call. Every public header that declares one of them includes this file first. A program that includes
// <windows.h> after the library's headers includes this one behind it; the system's functions are then called by their
// whole names: GetMessageW, GetObjectW, RegisterClassW.

#undef GetMessage
#undef GetObject
#undef RegisterClass
#undef Yield
