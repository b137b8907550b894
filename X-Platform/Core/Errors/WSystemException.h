#pragma once

#include "Core/Errors/XException.h"

/// What the exceptions for failed system calls share: the system's own code beside the library's number, and
/// the system's text in the message.
class KORVALE_API WSystemException : public XException
{
public:
    ~WSystemException() override;

    /// The system's text for the code followed by the library's number in parentheses; the library's text
    /// where the system has none.
    XString GetRawErrorMessage() const override;

protected:
    /// `inMessageCode` is the code whose text is shown, where the system words it under another one.
    WSystemException( std::uint32_t inErrorNumber, std::uint32_t inSystemCode, std::uint32_t inMessageCode );

    std::uint32_t GetSystemCode() const { return itsSystemCode; }

private:
    std::uint32_t itsSystemCode;
    std::uint32_t itsMessageCode;
};
