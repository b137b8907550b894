#include "Files/WFolders.h"

std::filesystem::path WFolders::GetStateFolder()
{
    const auto folder = GetUserFolder();
    return ( folder.empty() ? std::filesystem::temp_directory_path() : folder ) / "korvale";
}
