// The description of an image file: OME-XML, the lines of ImageJ or the shape of an array, for a file of up to 256 pages.
// What is understood has every plane on a page that exists; anything else is refused with an image error.

#include "Imaging/XImageStructure.h"

#include "Startup/WInitCore.h"

#include <cstdlib>
#include <string>

namespace
{
struct DescribedFile : WImageFile
{
    std::string description;
    std::uint32_t pages = 1;
    std::uint64_t samples = 1;

    using WImageFile::GetLayout;
    std::uint32_t GetPageCount() const override { return pages; }
    Layout GetLayout( std::uint32_t ) const override
    {
        return { 8, 6, samples, 1, samples, "8-bit unsigned", 0, 0, 0.5, 0.5 };
    }
    std::string GetFormatName() const override { return "TIFF"; }
    std::vector<std::string> GetDescriptions() const override { return { description }; }

protected:
    WImagePage ReadPageSelf( std::uint32_t, const Progress&, const WImagePage::Allocator& ) override
    {
        return {};
    }
};

void CheckSeries( const XImageSeries& inSeries, const DescribedFile& inFile )
{
    for ( std::uint32_t time = 0; time < inSeries.times; ++time )
        for ( std::uint32_t slice = 0; slice < inSeries.slices; ++slice )
        {
            inSeries.GetTime( slice, time );
            for ( std::uint32_t channel = 0; channel < inSeries.channels; ++channel )
            {
                const auto plane = inSeries.GetPlane( channel, slice, time );
                if ( plane.file != 0 || plane.page >= inFile.pages || plane.sample >= inFile.samples )
                    std::abort();
            }
        }
}
} // namespace

/// The first byte is the number of pages, the second that of samples.
extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    static const WInitCore sCore;
    if ( inSize < 2 )
        return 0;
    DescribedFile file;
    file.pages = inData[0] + 1u;
    file.samples = inData[1] % 4 + 1u;
    file.description.assign( inData + 2, inData + inSize );
    try
    {
        const auto structure = XImageStructure::Read( file, "/nowhere/own.tif" );
        for ( const auto& series : structure.series )
            CheckSeries( series, file );
    }
    catch ( const WImageError& )
    {
    }
    return 0;
}
