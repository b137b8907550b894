#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// Size and contents of a synthetic stack.
struct XSyntheticStackSettings
{
    std::uint32_t planes = 8;
    std::uint32_t width = 512;
    std::uint32_t height = 512;
    std::uint32_t channels = 1;
    std::uint32_t bits = 16; ///< 8 or 16
    std::uint32_t objects = 60;
    std::uint64_t seed = 1;
};

/// A stack of planes with round, blurred objects on a noisy background, and its ground truth. Objects do not
/// touch, move slightly from plane to plane, and are present on every plane. Equal settings result in equal
/// samples on every system, because only exact operations are used.
class KORVALE_IMAGING_API XSyntheticStack
{
public:
    /// Throws WImageError if the objects do not fit into planes of that size.
    explicit XSyntheticStack( const XSyntheticStackSettings& inSettings );

    /// The format of every plane.
    WImageFormat GetFormat() const;

    /// Draws the next plane. An abort throws 1001.
    WImagePage DrawPlane();

    /// The ground truth as CSV: the header, and the lines of the plane drawn last.
    std::string GetTruthHeader() const;
    std::string GetTruth() const;

private:
    struct XDisc
    {
        double cellX; // centre of the part of the plane in which the object stays
        double cellY;
        double x;
        double y;
        double radius;
        std::vector<double> peaks; // for each channel, from 0 to 1
    };

    XSyntheticStackSettings itsSettings;
    std::mt19937_64 itsRandom;
    std::vector<XDisc> itsDiscs;
    double itsCellWidth = 0;
    double itsCellHeight = 0;
    std::uint32_t itsPlane = 0; // the next plane to draw

    double DrawUniform();
    double DrawNoise();
    std::vector<std::uint32_t> DrawCells( std::uint32_t inCount );
    void PlaceDiscs();
    void Wander( XDisc& ioDisc );
    void Paint( const XDisc& inDisc, std::vector<float>& ioLight ) const;
    template<class T>
    void Expose( const std::vector<float>& inLight, WImagePage& outPage );
};
