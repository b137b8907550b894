#pragma once

#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"
#include "WNoSystemMacros.h"

/// What the process knows of its storable classes: how to make an object from a class version, which class
/// descends from which, and which stands for which. Keyed by class number: revisions only matter when an
/// object is made.
///
/// Threads: every operation may be called on any thread at any time. Making objects takes no lock.
class KORVALE_API XClassRegistry
{
public:
    XClassRegistry() = delete;

    using XCreator = XStorable* (*)( XStream&, const XVersion&, XStorable::XOptions );
    using XDefaultCreator = XStorable* (*)();

    /// The ways to make an object of a class. Creators return a new object and read nothing; each may be
    /// null.
    struct XCreatorFunctions
    {
        XVersion version; ///< the class with the newest revision it can read
        XCreator currentCreator = nullptr;
        XCreator oldStreamCreator = nullptr;
        XDefaultCreator defaultCreator = nullptr;
        XString description;
    };

    /// Registers a class, in place of an earlier registration of the same number. `inSuperVersion` 0 means
    /// none. Applications use numbers from kFirstApplicationClassNumber (32768) on: another class under a number of
    /// the library is an internal error, "!IsTakenByLibrary( functions )", and so is the number 0.
    static void RegisterClassA(
        const XVersion& inClassVersion, const XVersion& inSuperVersion, XCreator inCurrentCreator,
        XCreator inOldStreamCreator, XDefaultCreator inDefaultCreator, const XString& inDescription );
    static void UnregisterClassA( const XVersion& inClassVersion );

    /// Registers `T` by its GetClassVersion and GetSuperClassVersion; its objects are made by the default
    /// constructor.
    template<class T>
    static void RegisterClass( const XString& inDescription );
    /// The same for an abstract class, of which no object can be made (1004).
    template<class T>
    static void RegisterAbstractClass( const XString& inDescription );

    static void RegisterInheritance( const XVersion& inClass, const XVersion& inSuper );
    /// Objects of class `inAlias` are made as objects of class `inTarget`.
    static void RegisterAlias( const XVersion& inAlias, const XVersion& inTarget );
    /// 1003 when the class is not registered.
    static void RegisterDescription( const XVersion& inClass, const XString& inText );

    /// Of the class, or of the one it is an alias for; empty when neither is registered.
    static XString GetClassDescription( const XVersion& inClass );
    /// True for classes, false for what is an alias only.
    static bool IsRegistered( const XVersion& inClass );
    static bool IsAliasFor( const XVersion& inAlias, const XVersion& inTarget );
    /// True when `inClass` is, is an alias for, or descends from `inBase`.
    static bool IsA( const XVersion& inClass, const XVersion& inBase );
    /// The classes registered as descending from `inClass`, directly or (`inRecursive`) at all, by class
    /// number.
    static XVector<XVersion> GetDerivedClasses( const XVersion& inClass, bool inRecursive );

    /// A new object by the default creator. `inDefaultVersion` stands in for a version whose class number is
    /// 0. Throws 1003, 1004, and 1015 when the version's revision is above the registered one.
    static XStorable* CreateObject( const XVersion& inVersion, const XVersion& inDefaultVersion = 0 );
    /// The same by the creator for `inStream`'s revision.
    static XStorable* CreateObject(
        const XVersion& inVersion, XStream& inStream, const XVersion& inDefaultVersion = 0,
        XStorable::XOptions inOptions = XStorable::kNoOptions );

    /// Kept as an entry point; does nothing.
    static void CheckInheritanceHierarchies() {}

    /// Registers every storable class of the library. Called by the start-up; calling it again changes
    /// nothing.
    static void RegisterStandardClasses();
    /// Registers the storable classes of the core.
    static void RegisterCoreClasses();
};

template<class T>
void XClassRegistry::RegisterClass( const XString& inDescription )
{
    const XCreator create = []( XStream&, const XVersion&, XStorable::XOptions ) -> XStorable*
    { return new T; };
    const XDefaultCreator createDefault = []() -> XStorable* { return new T; };
    RegisterClassA(
        T::GetClassVersion(), T::GetSuperClassVersion(), create, create, createDefault, inDescription );
}

template<class T>
void XClassRegistry::RegisterAbstractClass( const XString& inDescription )
{
    RegisterClassA(
        T::GetClassVersion(), T::GetSuperClassVersion(), nullptr, nullptr, nullptr, inDescription );
}
