#pragma once

#include "Core/Errors/WSystemException.h"

/// A failed DirectX call, by its result.
class KORVALE_API WDirectXException : public WSystemException
{
public:
    explicit WDirectXException( std::uint32_t inResult );
    ~WDirectXException() override;

    std::uint32_t GetDirectXResult() const { return GetSystemCode(); }

    /// The system's text for a result; empty when it has none.
    static XString GetMsgFromSystem( std::uint32_t inResult );

    /// The library's error number for a result. Results outside DirectX's own range are mapped as those of
    /// COM; an unknown result is returned unchanged.
    static std::uint32_t MapDirectXResultToKorvaleError( std::uint32_t inResult );
};
