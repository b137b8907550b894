#pragma once

#include "Imaging/XBackgroundAccumulator.h"
#include "Measuring/CachedPage.h"
#include "Measuring/StageOrder.h"

#include <memory>
#include <utility>

/// The background of a stack: the mean or the minimum over its pages, each sample of a page for itself. Jobs add the
/// pages, several at the same time; when the jobs have ended the background is computed, and jobs subtract it from
/// pages. The result does not depend on which thread does what.
class StackBackground
{
public:
    StackBackground( XBackgroundKind inKind, std::uint32_t inPageCount, XPageMemory& ioMemory );

    /// Adds a page, after those before it. Throws WImageError for a page whose size or type is not that of the first
    /// page that was added, and what locking memory throws. After 1012 and 1020 the background is of no use: samples are
    /// missing in it, or wrong.
    void Add( std::uint32_t inPage, CachedPage& ioPage );

    /// A page has been added, or will not be. Must be called once for every page: later pages wait for it.
    void HasEnded( std::uint32_t inPage ) { itsOrder.PassAll( inPage ); }

    std::uint32_t GetAddedCount() const { return itsAdded; }

    /// Computes the background, of one page at least.
    void Compute();

    /// The background, which has the resolution of the first page, for who needs it when all has been subtracted. Without
    /// samples when it has not been computed.
    WImagePage TakePage() { return std::move( itsBackground ); }

    /// Subtracts it from a page of the same form. What would be less than 0 becomes 0.
    void SubtractFrom( WImagePage& ioPage ) const;

private:
    const XBackgroundKind itsKind;
    const std::uint32_t itsPageCount;
    XPageMemory& itsMemory;
    StageOrder itsOrder;
    std::uint32_t itsAdded = 0; ///< Changed in the first stage, as the next two.
    std::uint32_t itsFirst = 0; ///< The page whose form the others must have.
    WImageFormat itsForm;       ///< Empty before the first page.
    std::unique_ptr<XBackgroundAccumulator> itsSums;
    WImagePage itsBackground;

    void Admit( std::uint32_t inPage, const WImageFormat& inForm );
};
