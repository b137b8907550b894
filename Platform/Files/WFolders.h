#pragma once

#include "WPlatform.h"

#include <filesystem>

/// The user's standard folders.
class KORVALE_API WFolders
{
public:
    /// The folder for files that outlive a session but are not documents, such as logs: `korvale` in
    /// `XDG_STATE_HOME` or `~/.local/state` on Linux, in the local application data on Windows; in the folder
    /// of temporary files if the user has neither. It may not exist yet.
    static std::filesystem::path GetStateFolder();

    /// The folder for settings, in which each program has its own folder: `~/.config` on Linux, the roaming
    /// application data on Windows. Empty if the user has none.
    static std::filesystem::path GetSettingsFolder();

    /// The folder for temporary files that replace memory. On Linux `TMPDIR`, otherwise `/var/tmp`; a
    /// `TMPDIR` on a memory-backed file system is ignored, because files there free no memory. On Windows the
    /// user's folder of temporary files.
    static std::filesystem::path GetTemporaryFolder();

    /// The environment variables and folders from which it is chosen, in order, for help texts: "TMPDIR, or
    /// /var/tmp".
    static const char* DescribeTemporaryFolder();

private:
    static std::filesystem::path GetUserFolder();
};
