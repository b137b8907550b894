#pragma once

#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"
#include "WNoSystemMacros.h"

/// The storable classes of the process: how to create an object from a class version, which class descends
/// from which, and which class is an alias for another. Keyed by class number; revisions matter only when an
/// object is created.
///
/// Threads: every operation may be called on any thread at any time. Creating objects takes no lock.
class KORVALE_API XClassRegistry
{
public:
    XClassRegistry() = delete;

    using XCreator = XStorable* (*)( XStream&, const XVersion&, XStorable::XOptions );
    using XDefaultCreator = XStorable* (*)();

    /// The functions that create an object of a class. A creator returns a new object and reads nothing from
    /// the stream; each may be null.
    struct XCreatorFunctions
    {
        XVersion version; ///< the class with the newest revision it can read
        XCreator currentCreator = nullptr;
        XCreator oldStreamCreator = nullptr;
        XDefaultCreator defaultCreator = nullptr;
        XString description;
    };

    /// Registers a class, replacing an earlier registration of the same number. `inSuperVersion` 0 means no
    /// base class. Applications use numbers from kFirstApplicationClassNumber (32768) on: registering another
    /// class under a number of the library, or the number 0, is an internal error, "!IsTakenByLibrary(
    /// functions )".
    static void RegisterClassA(
        const XVersion& inClassVersion, const XVersion& inSuperVersion, XCreator inCurrentCreator,
        XCreator inOldStreamCreator, XDefaultCreator inDefaultCreator, const XString& inDescription );
    static void UnregisterClassA( const XVersion& inClassVersion );

    /// Registers `T` by its GetClassVersion and GetSuperClassVersion; its objects are made by the default
    /// constructor.
    template<class T>
    static void RegisterClass( const XString& inDescription );
    /// Registers an abstract class, of which no object can be created (1004).
    template<class T>
    static void RegisterAbstractClass( const XString& inDescription );

    static void RegisterInheritance( const XVersion& inClass, const XVersion& inSuper );
    /// Makes `inAlias` an alias of `inTarget`: its objects are created as objects of class `inTarget`.
    static void RegisterAlias( const XVersion& inAlias, const XVersion& inTarget );
    /// Throws 1003 if the class is not registered.
    static void RegisterDescription( const XVersion& inClass, const XString& inText );

    /// The description of the class, or of the class it is an alias for; empty if neither is registered.
    static XString GetClassDescription( const XVersion& inClass );
    /// True for registered classes, false for mere aliases.
    static bool IsRegistered( const XVersion& inClass );
    static bool IsAliasFor( const XVersion& inAlias, const XVersion& inTarget );
    /// True when `inClass` is, is an alias for, or descends from `inBase`.
    static bool IsA( const XVersion& inClass, const XVersion& inBase );
    /// The descendants of `inClass` in the order of their class numbers, all of them if `inRecursive`, else only the
    /// direct ones; with their registered revisions, or 0 if only their inheritance is registered.
    static XVector<XVersion> GetDerivedClasses( const XVersion& inClass, bool inRecursive );

    /// Creates an object with the default creator. `inDefaultVersion` replaces a version whose class number
    /// is 0. Throws 1003, 1004, and 1015 if the version's revision is above the registered one.
    static XStorable* CreateObject( const XVersion& inVersion, const XVersion& inDefaultVersion = 0 );
    /// Creates an object with the creator for the revision of `inStream`.
    static XStorable* CreateObject(
        const XVersion& inVersion, XStream& inStream, const XVersion& inDefaultVersion = 0,
        XStorable::XOptions inOptions = XStorable::kNoOptions );

    /// Kept for compatibility; does nothing.
    static void CheckInheritanceHierarchies() {}

    /// Registers every storable class of the library. Called at start-up; further calls change nothing.
    static void RegisterStandardClasses();
    /// Registers the storable classes of Core.
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
