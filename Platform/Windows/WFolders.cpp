#include "WFolders.h"

#include <cstdlib>

std::filesystem::path WFolders::GetUserFolder()
{
    const wchar_t* folder = _wgetenv( L"LOCALAPPDATA" );
    return folder ? folder : L"";
}

std::filesystem::path WFolders::GetTemporaryFolder()
{
    return std::filesystem::temp_directory_path();
}
