#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Writes a ZIP archive from front to back, so that it may go to a pipe. Entries are stored without compression; sizes
/// from 4 GiB on, and more than 65534 entries, are written in the 64-bit form.
class ZipWriter
{
public:
    using Write = std::function<void( std::string_view )>;

    explicit ZipWriter( Write inWrite ) : itsWrite( std::move( inWrite ) ) {}

    /// The CRC-32 of some bytes and those before them; 0 before all.
    static std::uint32_t AddToCRC( std::uint32_t inCRC, std::string_view inBytes );

    /// Begins an entry. Its size and its CRC-32 stand before its bytes, so they have to be known.
    void BeginEntry( const std::string& inUTF8Name, std::uint64_t inSize, std::uint32_t inCRC );

    /// The next bytes of the entry.
    void Append( std::string_view inBytes );

    /// Writes the directory. An entry that got more or fewer bytes than were announced is an internal error.
    void Finish();

private:
    struct Entry
    {
        std::string name;
        std::uint64_t size;
        std::uint64_t offset;
        std::uint32_t crc;
    };

    Write itsWrite;
    std::uint64_t itsPosition = 0;
    std::uint64_t itsEntryEnd = 0;
    std::vector<Entry> itsEntries;

    void Put( std::string_view inBytes );
    static std::string MakeCommonHeader( const Entry& inEntry, bool inNeeds64Bits );
    static std::string MakeHeader( const Entry& inEntry );
    static std::string MakeDirectoryEntry( const Entry& inEntry );
    std::string MakeEnd( std::uint64_t inDirectory, std::uint64_t inDirectorySize ) const;
};
