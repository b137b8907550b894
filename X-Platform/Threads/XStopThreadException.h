#pragma once

#include "Core/Errors/XException.h"

/// Stops a thread: thrown by its checkpoint after a stop request, through the thread's own code. Do not catch
/// it for good. Its error number is 2702, so it is neither logged nor reported; the stop code is the reason
/// for the stop.
class KORVALE_API XStopThreadException : public XException
{
public:
    explicit XStopThreadException( std::uint32_t inStopCode );

    std::uint32_t GetStopCode() const { return itsStopCode; }

    /// The text of error 2702 with the stop code in parentheses, without the introduction "The command could
    /// not be completed".
    XString GetErrorMessage() const override;
    XString GetRawErrorMessage() const override;

private:
    std::uint32_t itsStopCode;
};
