#pragma once

#include "Files/WFile.h"
#include "Ground/XFileMappingBase.h"

#include <memory>

/// A mapping of the system.
///
/// The page file's is an object without a name on Windows. Linux has none: there it is memory of the process, which stays
/// when the view goes. Its bytes are zeros at first, and no view of it may be kPageWriteCopy. A file's keeps the file
/// open. Errors: 1020 when the system refuses, or the file is shorter than the range.
class KORVALE_API WFileMapping : public XFileMappingBase
{
public:
    /// Of the page file. `inSize` is above 0.
    explicit WFileMapping( std::uint64_t inSize );

    /// Of `inSize` bytes, above 0, from byte `inOffset` of a file. `inProtection` is the most that a view may do.
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

    /// Views begin at a multiple of the allocation granularity, so this many bytes before the range.
    std::uint64_t GetViewDelta() const;
    void CheckFileSize( std::uint64_t inSize ) const;

    std::shared_ptr<const WFile> itsFile; // null for the page file
    std::intptr_t itsHandle = kNoHandle;  // of the mapping object, or the address of the page file's memory
    std::uint64_t itsSize = 0;            // of the page file's memory, in whole pages
    std::uint64_t itsOffset = 0;          // of the range in the file
    std::uint8_t* itsView = nullptr;      // as the system mapped it
    std::uint64_t itsViewSize = 0;
    void* itsGuard = nullptr; // what the system's part needs to notice damage
};
