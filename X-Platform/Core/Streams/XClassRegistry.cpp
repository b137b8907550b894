#include "Core/Streams/XClassRegistry.h"

#include "Core/Streams/XStream.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>

// Reading an object looks its class up once for each object, on any thread, so the look-up takes no lock: a
// table of atomic pointers, one for each of the 65,536 class numbers. A registration is immutable once its
// pointer is in the table (release, acquire); changing it means publishing a new one, and the old one is
// never deleted, as a reader may just be using it. Registrations are few and rarely change.
//
// Inheritance and aliases are only followed in questions about descent and for classes that are not
// registered; they are ordinary maps under a shared mutex. Both may contain circles, by mistake of the
// program, which FollowLinks ends.

namespace
{
using XCreatorFunctions = XClassRegistry::XCreatorFunctions;

constexpr std::size_t kClassNumbers = 0x10000;

/// The key of a class in every map: its number without the revision.
XVersion KeyOf( const XVersion& inVersion )
{
    return inVersion.GetClassID();
}

/// The registrations by class number. One is never changed once it is in here: a new one takes its place and the old
/// one is kept, so that readers need no lock.
constinit std::array<std::atomic<const XCreatorFunctions*>, kClassNumbers> sClassTable{};

/// What only changes and questions of descent look at, under a lock.
struct XTables
{
    std::shared_mutex mutex;
    XVector<std::unique_ptr<const XCreatorFunctions>> registrations; // all that ever were, to be kept
    std::map<XVersion, XVersion> inheritanceMap;
    std::map<XVersion, XVersion> aliasMap;
};

/// Never destroyed: objects may be read until the process is gone.
XTables& Tables()
{
    static XTables* const sTables = new XTables;
    return *sTables;
}

const XCreatorFunctions* FindRegistration( const XVersion& inVersion )
{
    return sClassTable[inVersion.GetClassID()].load( std::memory_order_acquire );
}

bool HasRegistration( const XVersion& inVersion )
{
    return FindRegistration( inVersion ) != nullptr;
}

/// Whether the library has registered another class under this number. Classes are distinguished by their
/// creators.
bool IsTakenByLibrary( const XCreatorFunctions& inFunctions )
{
    // Programs may replace their own classes, but not take a number of the library's.
    if ( inFunctions.version.GetClassID() >= kFirstApplicationClassNumber )
        return false;
    const XCreatorFunctions* const known = FindRegistration( inFunctions.version );
    return known &&
        ( known->currentCreator != inFunctions.currentCreator ||
          known->oldStreamCreator != inFunctions.oldStreamCreator ||
          known->defaultCreator != inFunctions.defaultCreator );
}

/// To be called under the lock.
void Publish( XTables& ioTables, XCreatorFunctions inFunctions )
{
    auto entry = std::make_unique<const XCreatorFunctions>( std::move( inFunctions ) );
    ioTables.registrations.push_back( std::move( entry ) );
    const XCreatorFunctions* published = ioTables.registrations.back().get();
    sClassTable[published->version.GetClassID()].store( published, std::memory_order_release );
}

/// Follows `inMap` from a class and returns the first version on the way for which `inIsFound` holds. A
/// circle ends the search once every entry has been seen.
template<class TPredicate>
std::optional<XVersion>
FollowLinks( const std::map<XVersion, XVersion>& inMap, const XVersion& inClass, const TPredicate& inIsFound )
{
    auto link = inMap.find( KeyOf( inClass ) );
    for ( std::size_t steps = 0; steps < inMap.size() && link != inMap.end(); ++steps )
    {
        if ( inIsFound( link->second ) )
            return link->second;
        link = inMap.find( KeyOf( link->second ) );
    }
    return std::nullopt;
}

bool HasLink( const std::map<XVersion, XVersion>& inMap, const XVersion& inClass, const XVersion& inTarget )
{
    const auto isTarget = [&inTarget]( const XVersion& inVersion )
    { return inVersion.GetClassID() == inTarget.GetClassID(); };
    return FollowLinks( inMap, inClass, isTarget ).has_value();
}

/// The version to make an object from: the one named, or the one that it is an alias for, if either is
/// registered.
std::optional<XVersion> FindRegistered( const XVersion& inVersion )
{
    if ( HasRegistration( inVersion ) )
        return inVersion;
    XTables& tables = Tables();
    const std::shared_lock lock( tables.mutex );
    return FollowLinks( tables.aliasMap, inVersion, HasRegistration );
}

/// The class of which a version's object is created: the version's, or the one it is an alias for, with its
/// registration.
std::pair<XVersion, const XCreatorFunctions&>
GetCreators( const XVersion& inVersion, const XVersion& inDefaultVersion )
{
    const XVersion& named = inVersion.GetClassID() == kClassNone ? inDefaultVersion : inVersion;
    const XVersion version = FindRegistered( named ).value_or( kClassNone );
    const XCreatorFunctions* functions = FindRegistration( version );
    if ( !functions )
        XThrow( kErrorClassNotRegistered );
    if ( version.GetClassRevision() > functions->version.GetClassRevision() )
        XThrow( kErrorRevisionTooNew );
    return { version, *functions };
}

XStorable* Checked( XStorable* inObject )
{
    if ( !inObject )
        XThrow( kErrorNoCreationFunction );
    return inObject;
}
} // namespace

void XClassRegistry::RegisterClassA(
    const XVersion& inClassVersion, const XVersion& inSuperVersion, XCreator inCurrentCreator,
    XCreator inOldStreamCreator, XDefaultCreator inDefaultCreator, const XString& inDescription )
{
    XAssert( inClassVersion.GetClassID() != kClassNone );
    XCreatorFunctions functions{
        inClassVersion, inCurrentCreator, inOldStreamCreator, inDefaultCreator, inDescription };
    XTables& tables = Tables();
    const std::unique_lock lock( tables.mutex );
    XAssert( !IsTakenByLibrary( functions ) );
    Publish( tables, std::move( functions ) );
    if ( inSuperVersion.GetClassID() != kClassNone )
        tables.inheritanceMap[KeyOf( inClassVersion )] = inSuperVersion;
    else
        tables.inheritanceMap.erase( KeyOf( inClassVersion ) );
}

void XClassRegistry::UnregisterClassA( const XVersion& inClassVersion )
{
    XTables& tables = Tables();
    const std::unique_lock lock( tables.mutex );
    sClassTable[inClassVersion.GetClassID()].store( nullptr, std::memory_order_release );
    tables.inheritanceMap.erase( KeyOf( inClassVersion ) );
}

void XClassRegistry::RegisterInheritance( const XVersion& inClass, const XVersion& inSuper )
{
    XTables& tables = Tables();
    const std::unique_lock lock( tables.mutex );
    tables.inheritanceMap[KeyOf( inClass )] = inSuper;
}

void XClassRegistry::RegisterAlias( const XVersion& inAlias, const XVersion& inTarget )
{
    XTables& tables = Tables();
    const std::unique_lock lock( tables.mutex );
    tables.aliasMap[KeyOf( inAlias )] = inTarget;
}

void XClassRegistry::RegisterDescription( const XVersion& inClass, const XString& inText )
{
    XTables& tables = Tables();
    const std::unique_lock lock( tables.mutex );
    const XCreatorFunctions* functions = FindRegistration( inClass );
    if ( !functions )
        XThrow( kErrorClassNotRegistered );
    XCreatorFunctions described = *functions;
    described.description = inText;
    Publish( tables, std::move( described ) );
}

XString XClassRegistry::GetClassDescription( const XVersion& inClass )
{
    const XVersion version = FindRegistered( inClass ).value_or( kClassNone );
    const XCreatorFunctions* functions = FindRegistration( version );
    return functions ? functions->description : XString();
}

bool XClassRegistry::IsRegistered( const XVersion& inClass )
{
    return HasRegistration( inClass );
}

bool XClassRegistry::IsAliasFor( const XVersion& inAlias, const XVersion& inTarget )
{
    XTables& tables = Tables();
    const std::shared_lock lock( tables.mutex );
    return HasLink( tables.aliasMap, inAlias, inTarget );
}

bool XClassRegistry::IsA( const XVersion& inClass, const XVersion& inBase )
{
    if ( inClass.GetClassID() == inBase.GetClassID() )
        return true;
    XTables& tables = Tables();
    const std::shared_lock lock( tables.mutex );
    return HasLink( tables.aliasMap, inClass, inBase ) || HasLink( tables.inheritanceMap, inClass, inBase );
}

XVector<XVersion> XClassRegistry::GetDerivedClasses( const XVersion& inClass, bool inRecursive )
{
    XTables& tables = Tables();
    const std::shared_lock lock( tables.mutex );
    XVector<XVersion> derived;
    for ( const auto& [key, super] : tables.inheritanceMap )
    {
        const bool isDerived =
            inRecursive ? HasLink( tables.inheritanceMap, key, inClass ) : KeyOf( super ) == KeyOf( inClass );
        if ( !isDerived || key == KeyOf( inClass ) )
            continue;
        // The revision tells a control service which jobs a node can read.
        const auto* const registration = FindRegistration( key );
        derived.push_back( registration ? registration->version : key );
    }
    return derived;
}

XStorable* XClassRegistry::CreateObject( const XVersion& inVersion, const XVersion& inDefaultVersion )
{
    const auto& [version, functions] = GetCreators( inVersion, inDefaultVersion );
    if ( !functions.defaultCreator )
        XThrow( kErrorNoCreationFunction );
    return Checked( functions.defaultCreator() );
}

XStorable* XClassRegistry::CreateObject(
    const XVersion& inVersion, XStream& inStream, const XVersion& inDefaultVersion,
    XStorable::XOptions inOptions )
{
    const auto& [version, functions] = GetCreators( inVersion, inDefaultVersion );
    const XCreator create = inStream.IsOldStream() ? functions.oldStreamCreator : functions.currentCreator;
    if ( !create )
        XThrow( kErrorNoCreationFunction );
    return Checked( create( inStream, version, inOptions ) );
}

void XClassRegistry::RegisterCoreClasses()
{
    RegisterClass<XString>( "String" );
}
