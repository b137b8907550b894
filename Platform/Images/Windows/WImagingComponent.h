#pragma once

#include "Images/WImageFile.h"

#include <filesystem>
#include <wincodec.h>
#include <windows.h>

/// An image file opened by the Windows Imaging Component. Used by one thread at a time, whichever; failures throw
/// WImageError.
class WImagingComponent
{
public:
    explicit WImagingComponent( const std::filesystem::path& inPath );
    ~WImagingComponent();
    WImagingComponent( const WImagingComponent& ) = delete;
    WImagingComponent& operator=( const WImagingComponent& ) = delete;

    /// Fills the samples of a page whose form is known and whose room is made from the first frame. Transparency is
    /// dropped, palettes are applied and few bits scaled to eight.
    void CopyFrame( const WImageFile::Progress& inProgress, WImagePage& ioPage );

private:
    CO_MTA_USAGE_COOKIE itsApartment = nullptr; ///< Of the process, for threads that have none of their own.
    IWICImagingFactory* itsFactory = nullptr;
    IWICBitmapDecoder* itsDecoder = nullptr;

    void Release();
};
