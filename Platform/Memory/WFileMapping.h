#pragma once

#include "Files/WFile.h"
#include "Ground/XFileMappingBase.h"

#include <memory>

/// The system's implementation of a mapping.
///
/// The page file's mapping is an unnamed object on Windows. On Linux it is anonymous memory of the process,
/// which is kept when the view is unmapped. Its bytes are initially zero, and its views must not be
/// kPageWriteCopy. A file's mapping keeps the file open. Errors: 1020 if the system fails or the file is
/// shorter than the range.
class KORVALE_API WFileMapping : public XFileMappingBase
{
public:
    /// Maps the page file. `inSize` must be above 0.
    explicit WFileMapping( std::uint64_t inSize );

    /// Maps `inSize` bytes, above 0, from byte `inOffset` of a file. `inProtection` is the maximum access of
    /// views.
    WFileMapping(
        std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, std::uint64_t inSize,
        XPageProtection inProtection );
    ~WFileMapping() override;

    void MapView( std::uint64_t inSize, XPageProtection inAccess ) override;
    bool ResizeView( std::uint64_t inSize ) override;
    void UnmapView() override;
    void* GetViewData() const override { return itsView ? itsView + GetViewDelta() : nullptr; }
    bool IsViewIntact() const override;

private:
    static constexpr std::intptr_t kNoHandle = -1;

    /// The offset of the range in the view, which begins at a multiple of the allocation granularity.
    std::uint64_t GetViewDelta() const;
    void CheckFileSize( std::uint64_t inSize ) const;

    std::shared_ptr<const WFile> itsFile; // null for the page file
    std::intptr_t itsHandle = kNoHandle;  // of the mapping object, or the address of the page file's memory
    std::uint64_t itsSize = 0;            // of the page file's memory, in whole pages
    std::uint64_t itsOffset = 0;          // of the range in the file
    std::uint8_t* itsView = nullptr;      // as the system mapped it
    std::uint64_t itsViewSize = 0;
    void* itsGuard = nullptr; // used by the system's implementation to detect damage
};
