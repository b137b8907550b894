#include "Files/WWildcards.h"

// The matching is the usual one with a single point of return: when a comparison fails, only the last `*` is
// lengthened, since an earlier one could not match better. That is O(name * pattern) at worst, without
// recursion.

bool WWildcards::HasWildcards( const std::filesystem::path& inPath )
{
    const auto& text = inPath.native();
    return text.find( '*' ) != text.npos || text.find( '?' ) != text.npos;
}

bool WWildcards::Matches( const std::filesystem::path& inName, const std::filesystem::path& inPattern )
{
    const auto names = GetComparable( inName ), patterns = GetComparable( inPattern );
    std::size_t name = 0, pattern = 0, star = std::u32string::npos, starName = 0;
    while ( name < names.size() )
    {
        if ( pattern < patterns.size() && patterns[pattern] == U'*' )
        {
            star = pattern++;
            starName = name;
        }
        else if (
            pattern < patterns.size() && ( patterns[pattern] == U'?' || patterns[pattern] == names[name] ) )
        {
            ++pattern;
            ++name;
        }
        else if ( star != std::u32string::npos )
        {
            pattern = star + 1;
            name = ++starName;
        }
        else
            return false;
    }
    return patterns.find_first_not_of( U'*', pattern ) == std::u32string::npos;
}
