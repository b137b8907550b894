#include "Pivot/Columns/Internal/XPivotColumnIDRegistry.h"

#include "Ground/XErrorNumbers.h"

#include <mutex>
#include <unordered_map>

namespace
{
using XNameMap = std::unordered_map<XPivotColumnID, XString>;

XNameMap* map = nullptr; // never freed: columns may be named while the process ends
std::once_flag sMapIsMade;

void AddName( XPivotColumnID inID, const XString& inName )
{
    XAssert( map );
    XAssert( map->find( inID ) == map->end() );
    map->emplace( inID, inName );
}

void MakeMap()
{
    map = new XNameMap;
    for ( const XPivotStandardID& standard : XGetPivotStandardIDs() )
        AddName( standard.id, standard.name );
}
} // namespace

void XPivotColumnIDRegistry::Register( XPivotColumnID inID, const XString& inName )
{
    RegisterStandard();
    AddName( inID, inName );
}

void XPivotColumnIDRegistry::RegisterStandard()
{
    std::call_once( sMapIsMade, MakeMap );
}

XString XPivotColumnIDRegistry::GetName( XPivotColumnID inID )
{
    const XString* name = FindName( inID );
    if ( !name )
        XThrow( kErrorUnknownColumnID );
    return *name;
}

const XString* XPivotColumnIDRegistry::FindName( XPivotColumnID inID )
{
    RegisterStandard();
    const auto found = map->find( inID );
    return found == map->end() ? nullptr : &found->second;
}
