#include "System/WStringTable.h"

#include <algorithm>
#include <iterator>

namespace
{

struct StringResource
{
    std::uint32_t id;
    const char* text;
};

constexpr StringResource kResources[] = {
#define KORVALE_STRING( inNumber, inText ) { inNumber, inText },
#include "System/WStringTable.inc"
#undef KORVALE_STRING
};
static_assert( std::ranges::is_sorted( kResources, std::less(), &StringResource::id ) );

} // namespace

std::optional<std::string> WStringTable::Load( std::uint32_t inResourceID )
{
    const auto* found =
        std::ranges::lower_bound( kResources, inResourceID, std::less(), &StringResource::id );
    if ( found == std::end( kResources ) || found->id != inResourceID )
        return std::nullopt;
    return found->text;
}
