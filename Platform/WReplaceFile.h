#pragma once

#include "WFile.h"

/// Writes a file beside its target and renames it into place, so that the target is either the old file or
/// the whole new one. Until then it is one of the WUnfinishedFiles. A target that is a device is written directly.
/// Failures throw WLastErrorException.
class KORVALE_API WReplaceFile
{
public:
    /// Makes the temporary file in the target's folder. A target that exists must be writable, and keeps its
    /// permissions; a symbolic link stays one and the file it points to is replaced.
    explicit WReplaceFile( const std::filesystem::path& inTarget );
    WReplaceFile( const WReplaceFile& ) = delete;
    WReplaceFile& operator=( const WReplaceFile& ) = delete;

    /// Removes the temporary file unless it was committed.
    ~WReplaceFile();

    /// Where to write. Other writers than WFile may use `GetPath` instead and leave this file alone.
    WFile& GetFile() { return itsFile; }

    /// The path that is being written: the temporary file, or the device.
    const std::filesystem::path& GetPath() const { return itsPath; }

    /// True when the target is a device and nothing will be renamed.
    bool IsDirect() const { return itsIsDirect; }

    /// Puts the data on the disk and closes the file, so that all that takes long or fails is done before several files
    /// take their places.
    void Complete();

    /// Completes the file and renames it over the target. May be called once.
    void Commit();

private:
    std::filesystem::path itsTarget;
    std::filesystem::path itsPath;
    WFile itsFile;
    bool itsIsDirect = false;
    bool itsIsCommitted = false;
};
