#pragma once

#include "WPlatform.h"

#include <filesystem>

/// Folders that the system gives the user.
class KORVALE_API WFolders
{
public:
    /// Where programs of the library keep what outlives a session but is no document: logs and the like. The folder
    /// need not exist yet. `XDG_STATE_HOME` or `~/.local/state` on Linux, the local application data on Windows; the
    /// folder of temporary files for a user without either.
    static std::filesystem::path GetStateFolder();

    /// Where the user keeps the settings of programs, each in a folder of its own: `~/.config` on Linux, the roaming
    /// application data on Windows. Empty for a user without.
    static std::filesystem::path GetSettingsFolder();

    /// Where temporary files go that take the place of memory. `TMPDIR`, else `/var/tmp` on Linux, where a `TMPDIR` on a
    /// memory-backed file system is passed over: files in memory give none back. The user's folder of temporary files
    /// on Windows.
    static std::filesystem::path GetTemporaryFolder();

    /// The environment variables and folders that decide it, in their order, for help texts: "TMPDIR, or /var/tmp".
    static const char* DescribeTemporaryFolder();

private:
    static std::filesystem::path GetUserFolder();
};
