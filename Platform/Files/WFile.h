#pragma once

#include "WPlatform.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

/// An open file that is read and written at explicit positions.
///
/// Transfers are complete: interrupted and short ones are continued until everything is done, the file ends
/// or the system refuses. Failures throw WLastErrorException (a full disk has number 1263, a refused access
/// 1021, a missing file 2, a folder 336). Several threads may read and write at once; opening and closing are
/// the owner's business.
///
/// Pipes, terminals and other devices without positions can be read or written front to back: a transfer then
/// has to begin where the last one ended, or it fails with system error 132. Names that stand for an open descriptor of
/// this process (/dev/stdout, /dev/fd/3) are such a device, whatever is behind them: kCreate writes on where the
/// descriptor stands, and empties nothing. A named pipe that no process reads cannot be opened for writing (system error
/// 233).
class KORVALE_API WFile
{
public:
    enum Mode
    {
        kRead = 1,      ///< An existing file, for reading.
        kReadWrite = 2, ///< An existing file, for reading and writing; its contents stay.
        kCreate = 3,    ///< For reading and writing; made if missing, emptied otherwise.
        kCreateNew = 4  ///< As kCreate, but fails with system error 80 if the file exists.
    };

    WFile() = default;
    WFile( const std::filesystem::path& inPath, Mode inMode );
    WFile( WFile&& inOther ) noexcept;
    WFile& operator=( WFile&& inOther ) noexcept;

    /// Closes; an error that appears only then is lost, so writers call `Close` themselves.
    ~WFile();

    /// Closes what was open, then opens.
    void Open( const std::filesystem::path& inPath, Mode inMode );

    /// Reports what the system could not write earlier. The file is closed whether or not this throws;
    /// closing a closed file does nothing.
    void Close();

    bool IsOpen() const { return itsHandle != kNoHandle; }

    /// The descriptor or handle, for platform code; -1 while no file is open.
    std::intptr_t GetRawHandle() const { return itsHandle; }

    /// Reads up to `inCount` bytes and returns how many there were: fewer only at the end of the file.
    std::uint64_t ReadAt( std::uint64_t inPosition, void* outData, std::uint64_t inCount ) const;

    /// Writes all of `inCount` bytes; the file grows as needed.
    void WriteAt( std::uint64_t inPosition, const void* inData, std::uint64_t inCount );

    /// Bytes in the file; 0 for devices without a size.
    std::uint64_t GetSize() const;

    /// Cuts the file off, or extends it with zeros.
    void SetSize( std::uint64_t inSize );

    /// Returns when what was written lies on the disk. Does nothing for devices that keep nothing.
    void Flush();

    /// True when the path names a device, a pipe or the like, which is written as it stands and never
    /// replaced.
    static bool IsDevice( const std::filesystem::path& inPath );

    /// Throws when this process may not write to the device, as far as that shows without opening it.
    static void CheckDevice( const std::filesystem::path& inPath );

protected:
    /// Takes over the descriptor or handle of an open file with positions.
    explicit WFile( std::intptr_t inSystemHandle ) : itsHandle( inSystemHandle ) {}

private:
    static constexpr std::intptr_t kNoHandle = -1;

    std::intptr_t itsHandle = kNoHandle;
    bool itsHasPositions = true;
    mutable std::uint64_t itsDevicePosition = 0; // counted only where there are no positions

    /// False when the system reported an error, which is then the last system error.
    bool CloseQuietly() noexcept;
    /// One transfer of the system, of some of the bytes; a reading of none is the end of the file.
    std::uint64_t ReadSome( std::uint64_t inPosition, void* outData, std::uint64_t inCount ) const;
    std::uint64_t WriteSome( std::uint64_t inPosition, const void* inData, std::uint64_t inCount );
    void CheckDevicePosition( std::uint64_t inPosition ) const;
    void AdvanceDevicePosition( std::uint64_t inCount ) const;
};
