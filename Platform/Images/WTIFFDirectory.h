#pragma once

#include "Files/WFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// The byte order and the offset width of a TIFF file, from its first bytes.
struct KORVALE_IMAGING_API WTIFFHeader
{
    bool isSwapped = false; ///< the byte order differs from the machine's
    bool isBig = false;     ///< counts and offsets have 64 bits
    std::uint64_t firstDirectory = 0;

    /// Throws WImageError if the header is truncated or malformed.
    static WTIFFHeader Read( const WFile& inFile );
};

/// The tags of one page of a TIFF file, whose values are read on demand. Keeps a reference to the file.
/// Throws WImageError if a tag claims more values than the file can contain.
class KORVALE_IMAGING_API WTIFFDirectory
{
public:
    enum Tag : std::uint16_t
    {
        kSubfileType = 254,
        kOldSubfileType = 255,
        kWidth = 256,
        kHeight = 257,
        kBitsPerSample = 258,
        kCompression = 259,
        kPhotometric = 262,
        kFillOrder = 266,
        kDescription = 270,
        kStripOffsets = 273,
        kSamplesPerPixel = 277,
        kRowsPerStrip = 278,
        kStripSizes = 279,
        kXResolution = 282,
        kYResolution = 283,
        kPlanarConfiguration = 284,
        kResolutionUnit = 296,
        kPredictor = 317,
        kColourMap = 320,
        kTileWidth = 322,
        kTileHeight = 323,
        kTileOffsets = 324,
        kTileSizes = 325,
        kSampleFormat = 339,
        kDepth = 32997,
        kStackPlanes = 33629 ///< its number of values is the number of planes
    };

    WTIFFDirectory( const WFile& inFile, const WTIFFHeader& inHeader, std::uint64_t inOffset );

    std::uint64_t GetOffset() const { return itsOffset; }

    /// The size of the directory in the file, without values stored elsewhere.
    std::uint64_t GetSize() const { return itsSize; }

    /// The position of the next page's directory; 0 for the last page.
    std::uint64_t GetNextOffset() const { return itsNextOffset; }

    bool Has( Tag inTag ) const { return Find( inTag ) != nullptr; }

    /// The number of values of a tag; 0 if the page does not have it.
    std::uint64_t GetCount( Tag inTag ) const;

    /// The first values of an integer tag, at most `inMost`; empty if the page does not have it.
    std::vector<std::uint64_t> GetNumbers( Tag inTag, std::uint64_t inMost ) const;

    /// The first value of an integer tag; `inDefault` if the page does not have it.
    std::uint64_t GetNumber( Tag inTag, std::uint64_t inDefault ) const;

    /// Like GetNumber, limited to 2^32 - 1.
    std::uint32_t GetExtent( Tag inTag, std::uint32_t inDefault ) const;

    /// True if each strip or tile contains the samples of one channel.
    bool HasSeparatePlanes() const { return GetNumber( kPlanarConfiguration, 1 ) == 2; }

    /// True if the first bit of a stored byte is the least significant one.
    bool IsLowestBitFirst() const { return GetNumber( kFillOrder, 1 ) == 2; }

    /// The value of a rational tag; 0 if the page does not have it or its denominator is 0.
    double GetFraction( Tag inTag ) const;

    /// The texts of a tag, which may occur several times, each up to its first NUL; texts that are empty or
    /// of another type are omitted. Throws WImageError if they have more than `inMost` bytes in total.
    std::vector<std::string> GetTexts( Tag inTag, std::uint64_t inMost ) const;

private:
    struct Entry
    {
        std::uint16_t tag;
        std::uint16_t type;
        std::uint64_t count;
        std::uint64_t position; // of the values in the file
    };

    const WFile& itsFile;
    WTIFFHeader itsHeader;
    std::uint64_t itsOffset;
    std::uint64_t itsSize = 0;
    std::uint64_t itsNextOffset = 0;
    std::uint64_t itsFileSize;
    std::string itsBytes; // of the file from the directory on, with it and often with its values
    std::vector<Entry> itsEntries;

    const Entry* Find( Tag inTag ) const;
    void AddEntry( std::uint64_t inStart );
    std::string ReadBytes( std::uint64_t inPosition, std::uint64_t inCount ) const;
    std::string ReadValues( const Entry& inEntry, std::uint64_t inCount ) const;
    std::uint64_t GetValue( const Entry& inEntry, const std::string& inBytes, std::uint64_t inIndex ) const;
};
