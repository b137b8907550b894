#pragma once

#include "Core/Errors/XException.h"

/// Base of the exceptions for failed system calls: holds the system's own code beside the library's error
/// number, and shows the system's text in the message.
class KORVALE_API WSystemException : public XException
{
public:
    ~WSystemException() override;

    /// The system's text for the code, followed by the library's number in parentheses. If the system has no
    /// text for the code, the library's text is used.
    XString GetRawErrorMessage() const override;

protected:
    /// `inMessageCode` is the code whose text is shown; it differs from `inSystemCode` where the system
    /// describes that one under another code.
    WSystemException( std::uint32_t inErrorNumber, std::uint32_t inSystemCode, std::uint32_t inMessageCode );

    std::uint32_t GetSystemCode() const { return itsSystemCode; }

private:
    std::uint32_t itsSystemCode;
    std::uint32_t itsMessageCode;
};
