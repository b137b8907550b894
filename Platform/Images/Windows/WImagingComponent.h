#pragma once

#include "Images/WImageFile.h"

#include <filesystem>
#include <wincodec.h>
#include <windows.h>

/// An image file opened with the Windows Imaging Component. Used by one thread at a time; failures throw
/// WImageError.
class WImagingComponent
{
public:
    explicit WImagingComponent( const std::filesystem::path& inPath );
    ~WImagingComponent();
    WImagingComponent( const WImagingComponent& ) = delete;
    WImagingComponent& operator=( const WImagingComponent& ) = delete;

    /// Fills the samples of a page, whose format is set and whose samples are allocated, from the first
    /// frame. Drops transparency, applies palettes and scales fewer bits to eight.
    void CopyFrame( const WImageFile::Progress& inProgress, WImagePage& ioPage );

private:
    CO_MTA_USAGE_COOKIE itsApartment = nullptr; // of the process, for threads without an apartment
    IWICImagingFactory* itsFactory = nullptr;
    IWICBitmapDecoder* itsDecoder = nullptr;

    void Release();
};
