#include "Files/WWildcards.h"

std::vector<std::filesystem::path> WWildcards::Expand( const std::filesystem::path& inPath )
{
    return { inPath };
}
