#pragma once

#include "Images/WImageFile.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The samples beyond the border of a page.
enum class XPageBorder
{
    kNearest, ///< those of the border
    kReflect  ///< mirrored, with the border twice
};

/// The rows of one channel, smoothed by a Gaussian that is truncated at four sigma. TReal is float, or double
/// where the result is compared with samples that it may equal: the order of its operations is that of SciPy.
///
/// Keeps only the rows within reach. The page must outlive it.
template<class TReal>
class XGaussianRows
{
public:
    XGaussianRows( const WImagePage& inPage, std::uint32_t inChannel, double inSigma, XPageBorder inBorder );

    /// The smoothed samples of a row, valid until the next call. Rows must be requested in ascending order.
    const TReal* SmoothRow( std::uint32_t inRow );

private:
    using XPlaces = std::vector<const TReal*>;

    const WImagePage& itsPage;
    const std::uint32_t itsChannel;
    const XPageBorder itsBorder;
    const std::vector<TReal> itsWeights; // of the centre, then from the outermost distance inwards
    const std::uint32_t itsReach;
    const std::uint32_t itsCapacity;
    std::vector<TReal> itsRows; // the rows within reach, each at its number modulo the capacity
    std::uint32_t itsLoaded = 0;
    std::vector<TReal> itsPadded; // a row smoothed vertically, with a margin of itsReach on both sides
    std::vector<TReal> itsResult;
    XPlaces itsBefore; // the samples from the outermost distance inwards, on one side
    XPlaces itsAfter;  // and on the other

    const TReal* FindRow( std::int64_t inRow ) const;
    void LoadUpTo( std::uint32_t inRow );
    void AddUp( const TReal* inCentre, TReal* outSums ) const;
};

extern template class XGaussianRows<float>;
extern template class XGaussianRows<double>;
