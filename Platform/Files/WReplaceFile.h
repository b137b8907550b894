#pragma once

#include "Files/WFile.h"

#include <system_error>

/// Writes a file beside its target and renames it into place, so that the target is either the old file or
/// the whole new one. A target that is a device is written directly.
///
/// Until it takes its place the file has no name, where the file system knows such files, and is gone however the
/// process ends. Only in the moment of taking its place, and in that of CheckTarget, it has a hidden name beside its
/// target, `.korvale-*.tmp`, which stays if the process is killed just then. Elsewhere (on Windows, on file systems
/// without unnamed files, and for files beyond the limit) it has that name from the start, and is one of the
/// WPendingFiles: it stays whenever the process is killed. An unnamed file holds a descriptor until it takes its
/// place, so there are at most
/// `kMostUnnamed` at a time, and at most a quarter of the descriptors that the process may have.
/// Failures throw WLastErrorException.
class KORVALE_API WReplaceFile
{
public:
    static constexpr unsigned kMostUnnamed = 256;

    /// When a target is looked at that exists and cannot be replaced. At Commit means only there and in KeepOld, for
    /// files whose result is kept then.
    enum Check
    {
        kCheckAtOnce,
        kCheckAtCommit
    };

    /// Makes the new file in the target's folder. A target that exists must be writable, and keeps its permissions; a
    /// symbolic link stays one, and the file it points to is replaced or, where it is missing, made.
    explicit WReplaceFile( const std::filesystem::path& inTarget, Check inCheck = kCheckAtOnce );
    WReplaceFile( const WReplaceFile& ) = delete;
    WReplaceFile& operator=( const WReplaceFile& ) = delete;

    /// Removes the new file unless it was committed or kept, and the old one.
    ~WReplaceFile();

    /// Throws what would prevent a file from being made and put there now. Leaves no trace. Devices are
    /// not opened, so what shows only then is not told.
    static void CheckTarget( const std::filesystem::path& inTarget );

    /// Where to write, until the file is complete.
    WFile& GetFile() { return itsFile; }

    /// True when the target is a device and nothing will be renamed.
    bool IsDirect() const { return itsIsDirect; }

    /// Puts the data on the disk, so that all that takes long or fails is done before several files take their places.
    void Complete();

    /// Completes the file and renames it over the target. May be called once, unless it is undone.
    void Commit();

    /// Before Commit: keeps the file that is replaced, if there is one, for Undo.
    void KeepOld();

    /// Takes Commit and KeepOld back as far as the system lets it: the target is the old file again, or missing as it
    /// was. An old file that cannot be put back stays beside the target under a hidden name. For a device it does
    /// nothing. Takes no memory.
    void Undo() noexcept;

    /// Gives the complete file, which could not take its place, a name beside its target: the target's and ".new", or
    /// ".new-2" and so on; "korvale-output.new" where that is too long. Returns the path. For a file that is not
    /// committed; not for a device.
    std::filesystem::path KeepNew();

private:
    std::filesystem::path itsTarget;
    std::filesystem::path itsPath;    // the new file's; empty while it has no name
    std::filesystem::path itsOldPath; // of the file that is kept for Undo; empty: none
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

    // The system's part.

    /// An open file in the folder without a name; a closed one where there can be none, or none beside so many others.
    static WFile OpenUnnamed( const std::filesystem::path& inFolder, unsigned inOthers );
    /// Gives it one; an error when the name is taken.
    static std::error_code Link( const WFile& inUnnamed, const std::filesystem::path& inPath );
    /// Throws when there can be no file of that name, since it is too long for instance.
    static void CheckName( const std::filesystem::path& inFile );
    /// Throws when the file, which exists, cannot be written or replaced by this process.
    static void CheckReplaceable( const std::filesystem::path& inFile );
};
