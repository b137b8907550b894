#pragma once

#include "Core/Errors/XException.h"

/// Carries out a stop: thrown by the checkpoint of a thread that was asked to stop, through the thread's own
/// code. Let it pass. Its error number is 2702, so it is neither logged nor reported; the stop code tells why
/// the thread stops.
class KORVALE_API XStopThreadException : public XException
{
public:
    explicit XStopThreadException( std::uint32_t inStopCode );

    std::uint32_t GetStopCode() const { return itsStopCode; }

    /// The text of error 2702, with the stop code in parentheses, without the sentence that tells users of a
    /// failure.
    XString GetErrorMessage() const override;
    XString GetRawErrorMessage() const override;

private:
    std::uint32_t itsStopCode;
};
