#pragma once

#include "WPlatform.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

/// An open file that is read and written at explicit positions.
///
/// Transfers are complete: interrupted and short ones are continued until all bytes are transferred, the file
/// ends or the system fails. Failures throw WLastErrorException (1263 for a full disk, 1021 for denied
/// access, 2 for a missing file, 336 for a folder). Several threads may read and write at once; opening and
/// closing must be synchronised by the owner.
///
/// Pipes, terminals and other devices without positions can be read or written sequentially: a transfer must
/// begin where the last one ended, otherwise it fails with system error 132. Names of an open descriptor of
/// this process (/dev/stdout, /dev/fd/3) are treated as such a device: kCreate continues at the current
/// position of the descriptor and truncates nothing. A named pipe without a reader cannot be opened for
/// writing (system error 233).
class KORVALE_API WFile
{
public:
    enum Mode
    {
        kRead = 1,      ///< an existing file, for reading
        kReadWrite = 2, ///< an existing file, for reading and writing; its contents stay
        kCreate = 3,    ///< for reading and writing; created if missing, otherwise truncated
        kCreateNew = 4  ///< like kCreate, but fails with system error 80 if the file exists
    };

    WFile() = default;
    WFile( const std::filesystem::path& inPath, Mode inMode );
    WFile( WFile&& inOther ) noexcept;
    WFile& operator=( WFile&& inOther ) noexcept;

    /// Closes the file. An error at this point is lost, so writers must call `Close`.
    ~WFile();

    /// Closes the open file, if any, then opens another.
    void Open( const std::filesystem::path& inPath, Mode inMode );

    /// Closes the file and throws any error that the system reports only now. The file is closed even if this
    /// throws; closing a closed file does nothing.
    void Close();

    bool IsOpen() const { return itsHandle != kNoHandle; }

    /// The descriptor or handle, for platform code; -1 while no file is open.
    std::intptr_t GetRawHandle() const { return itsHandle; }

    /// Reads up to `inCount` bytes and returns their number, which is smaller only at the end of the file.
    std::uint64_t ReadAt( std::uint64_t inPosition, void* outData, std::uint64_t inCount ) const;

    /// Writes all of `inCount` bytes; the file grows if necessary.
    void WriteAt( std::uint64_t inPosition, const void* inData, std::uint64_t inCount );

    /// The size of the file in bytes; 0 for devices without a size.
    std::uint64_t GetSize() const;

    /// Truncates the file, or extends it with zeros.
    void SetSize( std::uint64_t inSize );

    /// Waits until all written bytes are on the disk. Does nothing for devices that store nothing.
    void Flush();

    /// True if the path names a device, a pipe or the like, which is written directly and never replaced.
    static bool IsDevice( const std::filesystem::path& inPath );

    /// Throws if this process may not write to the device, as far as that can be known without opening it.
    static void CheckDevice( const std::filesystem::path& inPath );

protected:
    /// Takes over the descriptor or handle of an open file that has positions.
    explicit WFile( std::intptr_t inSystemHandle ) : itsHandle( inSystemHandle ) {}

private:
    static constexpr std::intptr_t kNoHandle = -1;

    std::intptr_t itsHandle = kNoHandle;
    bool itsHasPositions = true;
    mutable std::uint64_t itsDevicePosition = 0; // used only without positions

    /// Returns false if the system reported an error, which is then the last system error.
    bool CloseQuietly() noexcept;
    /// One transfer of the system, possibly of fewer bytes; reading 0 bytes means the end of the file.
    std::uint64_t ReadSome( std::uint64_t inPosition, void* outData, std::uint64_t inCount ) const;
    std::uint64_t WriteSome( std::uint64_t inPosition, const void* inData, std::uint64_t inCount );
    void CheckDevicePosition( std::uint64_t inPosition ) const;
    void AdvanceDevicePosition( std::uint64_t inCount ) const;
};
