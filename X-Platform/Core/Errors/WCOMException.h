#pragma once

#include "Core/Errors/WSystemException.h"

/// A failed COM call, by its HRESULT.
class KORVALE_API WCOMException : public WSystemException
{
public:
    explicit WCOMException( std::uint32_t inResult );
    ~WCOMException() override;

    std::uint32_t GetHRESULT() const { return GetSystemCode(); }

    /// The library's error number for an HRESULT. Results that wrap a Win32 error code or an NTSTATUS are
    /// mapped as these; an unknown result is returned unchanged.
    static std::uint32_t MapHRESULTToKorvaleError( std::uint32_t inResult );
};
