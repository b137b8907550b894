#pragma once

#include "Core/Errors/XException.h"

/// A broken invariant (error 1006), thrown by `KorvaleInternalError`. Holds the expression that was false,
/// its source position and the crash dump taken there.
class KORVALE_API XInternalException : public XException
{
public:
    XInternalException(
        const XString& inExpression, const XString& inFile, std::int32_t inLine,
        const XString& inCrashDump = XString() );
    ~XInternalException() override;

    /// "an internal error occurred: <expression> in "<file>" at line <line> (1006)".
    XString GetRawErrorMessage() const override;
    bool IsCrashError() const override;
    void GetCrashDump( XString& outDump ) const override;

    const XString& GetExpression() const { return itsExpression; }
    const XString& GetFile() const { return itsFile; }
    std::int32_t GetLine() const { return itsLine; }

private:
    XString itsExpression;
    XString itsFile;
    std::int32_t itsLine;
    XString itsCrashDump;
};
