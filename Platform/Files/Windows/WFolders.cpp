#include "Files/WFolders.h"

#include <cstdlib>

std::filesystem::path WFolders::GetUserFolder()
{
    const wchar_t* folder = _wgetenv( L"LOCALAPPDATA" );
    return folder ? folder : L"";
}

std::filesystem::path WFolders::GetSettingsFolder()
{
    const wchar_t* folder = _wgetenv( L"APPDATA" );
    return folder ? folder : L"";
}

const char* WFolders::DescribeTemporaryFolder()
{
    return "TMP, or TEMP";
}

std::filesystem::path WFolders::GetTemporaryFolder()
{
    return std::filesystem::temp_directory_path();
}
