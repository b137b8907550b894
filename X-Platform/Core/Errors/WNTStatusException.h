#pragma once

#include "Core/Errors/WSystemException.h"

/// A failed call of the native system interface, by its NTSTATUS.
class KORVALE_API WNTStatusException : public WSystemException
{
public:
    explicit WNTStatusException( std::uint32_t inStatus );
    ~WNTStatusException() override;

    std::uint32_t GetNTSTATUS() const { return GetSystemCode(); }

    /// The Win32 error code whose text describes this status; the status itself where none is known.
    std::uint32_t MapNTStatusToWin32ErrorCode() const;

    /// The library's error number for a status; an unknown status is returned unchanged.
    static std::uint32_t MapNTStatusToKorvaleError( std::uint32_t inStatus );
};
