#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Writes a ZIP archive sequentially, so that it may go to a pipe. Entries are stored without compression;
/// sizes from 4 GiB on and more than 65534 entries use ZIP64.
class ZipWriter
{
public:
    using Write = std::function<void( std::string_view )>;

    explicit ZipWriter( Write inWrite ) : itsWrite( std::move( inWrite ) ) {}

    /// Updates a CRC-32 with further bytes; start with 0.
    static std::uint32_t AddToCRC( std::uint32_t inCRC, std::string_view inBytes );

    /// Begins an entry. Its size and CRC-32 precede its bytes, so they must be known.
    void BeginEntry( const std::string& inUTF8Name, std::uint64_t inSize, std::uint32_t inCRC );

    /// Appends bytes to the current entry.
    void Append( std::string_view inBytes );

    /// Writes the directory. If an entry got more or fewer bytes than announced, that is an internal error.
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
