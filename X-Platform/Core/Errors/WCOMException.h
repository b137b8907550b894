#pragma once

#include "Core/Errors/WSystemException.h"

/// A failed COM call, by its HRESULT.
class KORVALE_API WCOMException : public WSystemException
{
public:
    explicit WCOMException( std::uint32_t inResult );
    ~WCOMException() override;

    std::uint32_t GetHRESULT() const { return GetSystemCode(); }

    /// The library's number for a result. Results that wrap a Win32 error code or an NTSTATUS map as these
    /// do; a result without a number passes through unchanged.
    static std::uint32_t MapHRESULTToKorvaleError( std::uint32_t inResult );
};
