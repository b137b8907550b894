#pragma once

#include "Files/WFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The byte order and the offset width of a TIFF file, from its first bytes.
struct KORVALE_IMAGING_API WTIFFHeader
{
    bool isSwapped = false; ///< Numbers are in the other byte order than the machine's.
    bool isBig = false;     ///< Counts and offsets have 64 bits.
    std::uint64_t firstDirectory = 0;

    /// Throws WImageError when the header is cut off or malformed.
    static WTIFFHeader Read( const WFile& inFile );
};

/// The tags of one page of a TIFF file, read when they are asked for. Keeps a reference to the file. What a tag claims
/// to hold is held against the size of the file first: WImageError.
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
        kStackPlanes = 33629 ///< Has as many values as there are planes.
    };

    WTIFFDirectory( const WFile& inFile, const WTIFFHeader& inHeader, std::uint64_t inOffset );

    std::uint64_t GetOffset() const { return itsOffset; }

    /// Bytes that the directory takes in the file, without the values that lie elsewhere.
    std::uint64_t GetSize() const { return itsSize; }

    /// Where the next page's directory lies; 0 after the last page.
    std::uint64_t GetNextOffset() const { return itsNextOffset; }

    bool Has( Tag inTag ) const { return itsEntries.contains( inTag ); }

    /// How many values a tag has; 0 when the page lacks it.
    std::uint64_t GetCount( Tag inTag ) const;

    /// The first values of a tag of whole numbers, `inMost` at most; none when the page lacks it.
    std::vector<std::uint64_t> GetNumbers( Tag inTag, std::uint64_t inMost ) const;

    /// The first value of a tag of whole numbers, or the one given when the page lacks it.
    std::uint64_t GetNumber( Tag inTag, std::uint64_t inDefault ) const;

    /// As GetNumber, but at most 2^32 - 1.
    std::uint32_t GetExtent( Tag inTag, std::uint32_t inDefault ) const;

    /// True when each strip or tile has the samples of one channel.
    bool HasSeparatePlanes() const { return GetNumber( kPlanarConfiguration, 1 ) == 2; }

    /// True when the first bit of a stored byte is its lowest.
    bool IsLowestBitFirst() const { return GetNumber( kFillOrder, 1 ) == 2; }

    /// The value of a tag of fractions; 0 when the page lacks it or its divisor is 0.
    double GetFraction( Tag inTag ) const;

    /// The texts of a tag, which a page may have several times, each up to its first 0; those that are empty or of another
    /// type are left out. Throws WImageError when they have more than `inMost` bytes together.
    std::vector<std::string> GetTexts( Tag inTag, std::uint64_t inMost ) const;

private:
    struct Entry
    {
        std::uint16_t type;
        std::uint64_t count;
        std::uint64_t position = 0; ///< Of the first value, where they lie elsewhere.
        std::string bytes;          ///< With the values, where they lie in the directory.
    };

    const WFile& itsFile;
    WTIFFHeader itsHeader;
    std::uint64_t itsOffset;
    std::uint64_t itsSize = 0;
    std::uint64_t itsNextOffset = 0;
    std::map<std::uint16_t, Entry> itsEntries;
    std::multimap<std::uint16_t, Entry> itsRepeatedEntries; ///< Further ones of the same tags.

    void AddEntry( const std::string& inBytes, std::uint64_t inStart );
    std::string ReadValues( const Entry& inEntry, std::uint64_t inCount ) const;
    std::uint64_t GetValue( const Entry& inEntry, const std::string& inBytes, std::uint64_t inIndex ) const;
};
