#pragma once

#include "Imaging/Pages/XBackgroundAccumulator.h"
#include "Measuring/CachedPage.h"
#include "Measuring/StageOrder.h"

#include <memory>
#include <utility>

/// The background of a stack: the per-pixel mean or minimum over its pages. Jobs add the pages, several at a
/// time; when they have ended, the background is computed, and jobs subtract it from pages. The result does
/// not depend on the assignment of work to threads.
class StackBackground
{
public:
    StackBackground( XBackgroundKind inKind, std::uint32_t inPageCount, XPageMemory& ioMemory );

    /// Adds a page in page order. Throws WImageError for a page whose size or type differs from those of the
    /// first page added, and the errors of locking memory. After 1012 and 1020 the background is incomplete
    /// or wrong and must not be used.
    void Add( std::uint32_t inPage, CachedPage& ioPage );

    /// Call it exactly once for every page, whether or not it was added: later pages wait for it.
    void HasEnded( std::uint32_t inPage ) { itsOrder.PassAll( inPage ); }

    std::uint32_t GetAddedCount() const { return itsAdded; }

    /// Computes the background of at least one page.
    void Compute();

    /// The background, once it has been computed.
    const WImagePage& GetPage() const { return itsBackground; }

    /// Returns the background, with the resolution of the first page, after all subtractions. Without samples
    /// if it has not been computed.
    WImagePage TakePage() { return std::move( itsBackground ); }

    /// Subtracts the background from a page of the same format. Negative results become 0.
    void SubtractFrom( WImagePage& ioPage ) const;

private:
    const XBackgroundKind itsKind;
    const std::uint32_t itsPageCount;
    XPageMemory& itsMemory;
    StageOrder itsOrder;
    std::uint32_t itsAdded = 0; // changed in the first stage, like the next two
    std::uint32_t itsFirst = 0; // the page whose format the others must have
    WImageFormat itsFormat;     // empty before the first page
    std::unique_ptr<XBackgroundAccumulator> itsSums;
    WImagePage itsBackground;

    void Admit( std::uint32_t inPage, const WImageFormat& inFormat );
};
