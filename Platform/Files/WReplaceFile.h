#pragma once

#include "Files/WFile.h"

#include <system_error>

/// Writes a file beside its target and renames it into place, so that the target is either the old file or
/// the complete new one. A target that is a device is written directly.
///
/// Where the file system supports it, the new file has no name until it is renamed into place, and disappears
/// however the process ends. Only during Commit and CheckTarget it has a hidden name beside its target,
/// `.korvale-*.tmp`, which remains if the process is killed just then. Otherwise (on Windows, on file systems
/// without unnamed files, and for files beyond the limit) it has that name from the start and is registered
/// in WPendingFiles: it remains whenever the process is killed. An unnamed file needs a descriptor until
/// Commit, so there are at most `kMostUnnamed` at a time, and at most a quarter of the descriptors that the
/// process may have.
///
/// Failures throw WLastErrorException.
class KORVALE_API WReplaceFile
{
public:
    static constexpr unsigned kMostUnnamed = 256;

    /// When to check that an existing target can be replaced. kCheckAtCommit checks only in Commit and
    /// KeepOld, for files whose result is kept if it cannot be put into place.
    enum Check
    {
        kCheckAtOnce,
        kCheckAtCommit
    };

    /// Creates the new file in the target's folder. An existing target must be writable, and its permissions
    /// are kept. A symbolic link is kept: the file it points to is replaced, or created if missing.
    explicit WReplaceFile( const std::filesystem::path& inTarget, Check inCheck = kCheckAtOnce );
    WReplaceFile( const WReplaceFile& ) = delete;
    WReplaceFile& operator=( const WReplaceFile& ) = delete;

    /// Removes the new file unless it was committed or kept, and removes the old one.
    ~WReplaceFile();

    /// Throws if a file could not be created and put into place now. Leaves no trace. Devices are not opened,
    /// so errors that show only then are not found.
    static void CheckTarget( const std::filesystem::path& inTarget );

    /// The file to write, until it is complete.
    WFile& GetFile() { return itsFile; }

    /// True if the target is a device, which is written without renaming.
    bool IsDirect() const { return itsIsDirect; }

    /// Writes the data to the disk, so that slow and failing steps come before several files are renamed into
    /// place.
    void Complete();

    /// Completes the file and renames it over the target. May be called once, unless it is undone.
    void Commit();

    /// Keeps the replaced file, if there is one, for Undo. Call it before Commit.
    void KeepOld();

    /// Reverts Commit and KeepOld as far as the system permits: the target is the old file again, or missing.
    /// An old file that cannot be restored stays beside the target under a hidden name. Does nothing for a
    /// device. Needs no memory.
    void Undo() noexcept;

    /// Gives the complete file, which could not be put into place, a name beside its target: the target's
    /// name and ".new", or ".new-2" and so on; "korvale-output.new" if that is too long. Returns the path.
    /// Only for a file that is not committed and not a device.
    std::filesystem::path KeepNew();

private:
    std::filesystem::path itsTarget;
    std::filesystem::path itsPath;    // path of the new file; empty while it has no name
    std::filesystem::path itsOldPath; // path of the file kept for Undo; empty if there is none
    WFile itsFile;
    bool itsIsDirect = false;
    bool itsIsUnnamed = false; // counts as one of kMostUnnamed
    bool itsIsCommitted = false;

    void CheckExistingTarget() const;
    void CreateNamed();
    void CopyPermissions( const std::filesystem::path& inPath ) const noexcept;
    void GiveName();
    void EndUnnamed();
    void PutOldBack() noexcept;
    void LeaveOld() noexcept;

    // Implemented for each system.

    /// Opens an unnamed file in the folder. Returns a closed one if that is not supported, or if there are
    /// too many others.
    static WFile OpenUnnamed( const std::filesystem::path& inFolder, unsigned inOthers );
    /// Gives the file a name; returns an error if the name is taken.
    static std::error_code Link( const WFile& inUnnamed, const std::filesystem::path& inPath );
    /// Throws if no file can have that name, for instance because it is too long.
    static void CheckName( const std::filesystem::path& inFile );
    /// Throws if this process cannot write or replace the existing file.
    static void CheckReplaceable( const std::filesystem::path& inFile );
};
