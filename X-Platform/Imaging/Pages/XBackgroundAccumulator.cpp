#include "Imaging/Pages/XBackgroundAccumulator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

// One element for each sample, in a buffer of the page memory; adding a page is a loop over both that the
// compiler vectorises, with a type of element for each kind and type of sample. Pages are added in page
// order, so sums of floats do not depend on the number of threads. Infinities and NaN are left out sample by
// sample.

namespace
{
// The accumulated value of a sample: how to add a page's sample, and how to compute the result.

template<class T>
struct LeastWhole
{
    using Sample = T;

    T least = std::numeric_limits<T>::max();

    void Add( T inSample ) { least = std::min( least, inSample ); }
    T Get( std::uint32_t ) const { return least; }
};

struct LeastFloat
{
    using Sample = float;

    float least = std::numeric_limits<float>::infinity();

    void Add( float inSample ) { least = std::isfinite( inSample ) ? std::min( least, inSample ) : least; }
    float Get( std::uint32_t ) const { return std::isfinite( least ) ? least : 0; }
};

template<class T, class TSum>
struct MeanWhole
{
    using Sample = T;

    TSum sum = 0;

    void Add( T inSample ) { sum += inSample; }
    T Get( std::uint32_t inPages ) const
    {
        // Rounded to the nearest integer.
        return static_cast<T>( ( std::uint64_t{ sum } + inPages / 2 ) / inPages );
    }
};

struct MeanFloat
{
    using Sample = float;

    double sum = 0;
    std::uint32_t count = 0;

    void Add( float inSample )
    {
        const auto isFinite = std::isfinite( inSample );
        sum += isFinite ? inSample : 0;
        count += isFinite;
    }
    float Get( std::uint32_t ) const { return count > 0 ? static_cast<float>( sum / count ) : 0; }
};

template<class TElement>
class SumsOf : public XBackgroundAccumulator
{
public:
    SumsOf( std::uint64_t inCount, XPageMemory& ioMemory )
        : itsBytes( ioMemory.AllocateLasting( inCount * sizeof( TElement ) ) ),
          itsElements( reinterpret_cast<TElement*>( itsBytes.get() ) )
    {
        std::uninitialized_default_construct_n( itsElements, inCount );
    }

    void Add( const WImagePage& inPage, std::uint64_t inFirst, std::uint64_t inEnd ) override
    {
        const auto* const samples = inPage.GetSamples<typename TElement::Sample>();
        for ( auto i = inFirst; i < inEnd; ++i )
            itsElements[i].Add( samples[i] );
    }

    void GetBackground(
        std::uint32_t inPages, std::uint64_t inFirst, std::uint64_t inEnd,
        WImagePage& outPage ) const override
    {
        auto* const samples = outPage.GetSamples<typename TElement::Sample>();
        for ( auto i = inFirst; i < inEnd; ++i )
            samples[i] = itsElements[i].Get( inPages );
    }

private:
    const WImagePage::Samples itsBytes;
    TElement* const itsElements;

    static_assert( std::is_trivially_destructible_v<TElement> );
};

struct Maker
{
    XBackgroundKind kind;
    std::uint64_t samples;
    std::uint32_t mostPages;
    XPageMemory& memory;

    template<class TElement>
    std::unique_ptr<XBackgroundAccumulator> Make() const
    {
        return std::make_unique<SumsOf<TElement>>( samples, memory );
    }

    /// Sums of 32 bits where all pages fit: they take half the memory, and half the time.
    template<class T>
    std::unique_ptr<XBackgroundAccumulator> MakeWhole() const
    {
        if ( kind == XBackgroundKind::kMinimum )
            return Make<LeastWhole<T>>();
        constexpr auto kMost = std::numeric_limits<std::uint32_t>::max() / std::numeric_limits<T>::max();
        return mostPages <= kMost ? Make<MeanWhole<T, std::uint32_t>>() : Make<MeanWhole<T, std::uint64_t>>();
    }

    std::unique_ptr<XBackgroundAccumulator> MakeFloat() const
    {
        return kind == XBackgroundKind::kMinimum ? Make<LeastFloat>() : Make<MeanFloat>();
    }
};
} // namespace

std::unique_ptr<XBackgroundAccumulator> XBackgroundAccumulator::Make(
    XBackgroundKind inKind, const WImageFormat& inFormat, std::uint32_t inMostPages, XPageMemory& ioMemory )
{
    const Maker maker{ inKind, inFormat.GetSampleCount(), inMostPages, ioMemory };
    return VisitSampleType(
        inFormat.type,
        [&]<class T>( std::type_identity<T> )
        {
            if constexpr ( std::is_integral_v<T> )
                return maker.MakeWhole<T>();
            else
                return maker.MakeFloat();
        } );
}
