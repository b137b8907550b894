#include "System/WStringTable.h"

#include <algorithm>
#include <iterator>

namespace
{

struct StringResource
{
    std::uint32_t itsID;
    const char* itsText;
};

constexpr StringResource kResources[] = {
#define KORVALE_STRING( inNumber, inText ) { inNumber, inText },
#include "System/WStringTable.inc"
#undef KORVALE_STRING
};
static_assert( std::ranges::is_sorted( kResources, std::less(), &StringResource::itsID ) );

} // namespace

std::optional<std::string> WStringTable::Load( std::uint32_t inResourceID )
{
    const auto* found =
        std::ranges::lower_bound( kResources, inResourceID, std::less(), &StringResource::itsID );
    if ( found == std::end( kResources ) || found->itsID != inResourceID )
        return std::nullopt;
    return found->itsText;
}
