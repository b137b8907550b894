// No #pragma once: every inclusion removes the macros again, even if <windows.h> has been included in
// between.

// The system's headers define these names as macros, which would rename functions of the library or remove
// calls. Every public header that declares such a function includes this file first. A program that includes
// <windows.h> after the library's headers must include this file after it, and call the system's functions by
// their full names: GetMessageW, GetObjectW, RegisterClassW.

#undef GetMessage
#undef GetObject
#undef RegisterClass
#undef Yield
