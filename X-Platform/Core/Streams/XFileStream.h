#pragma once

#include "Core/Streams/XStream.h"

#include "Files/WFile.h"

/// A stream over a file.
///
/// Errors: a full disk is 1263, reported by the write, Flush or Close at the latest; other system errors as
/// `WLastErrorException` maps them.
class KORVALE_API XFileStream : public XStream
{
public:
    static constexpr USize64 kDefaultBufferSize = 64 * 1024;

    explicit XFileStream(
        const std::filesystem::path& inPath, WFile::Mode inMode = WFile::kRead,
        USize64 inBufferSize = kDefaultBufferSize );
    /// Closes the file; errors are swallowed.
    ~XFileStream() override;

    /// Flushes and closes the file; it is closed even if this throws. Reading or writing afterwards is an
    /// internal error.
    void Close();

    const std::filesystem::path& GetPath() const { return itsPath; }

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override;
    SSize64 GetExtentSelf() override;
    void SetExtentSelf( SSize64 inExtent ) override;

private:
    std::filesystem::path itsPath;
    WFile itsFile;
};
