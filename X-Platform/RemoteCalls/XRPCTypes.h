#pragma once

#include "Core/Storables/XRefPtr.h"
#include "Core/Streams/XStreamVectors.h"
#include "Core/Strings/XString.h"

#include <concepts>
#include <memory>
#include <optional>
#include <type_traits>
#include <typeinfo>
#include <utility>

/// The types of arguments and results of remote calls, and their stream forms:
///
/// | Type | Form |
/// | --- | --- |
/// | integers and floats of at most 64 bits, `bool`, enumerations | as the stream writes them; enumerations as their underlying type |
/// | XString | length and bytes (`WriteString`) |
/// | XVersion, XARGB32Colour, and classes with `WriteStream2`, `ReadStream2` that are no XStorable: XTime, XTimePeriod, XUUID | as they write themselves |
/// | XVector of what XStreamVectors.h writes: numbers, versions, colours, times, identifiers, XString and other storable values | count and elements |
/// | classes derived from XStorable, by value | an object of exactly this class in its envelope |
/// | `std::unique_ptr` and XRefPtr to such classes | an object of the class or a derived one in its envelope; null is version 0 |
///
/// Both ends must use types of the same size. `long` has 8 bytes on Linux and 4 on Windows, so a method with
/// it works between machines of one system only: use `std::int64_t` and `std::int32_t`.
///
/// Object classes must be registered in XClassRegistry. Enumerations are not checked: a peer can send any
/// value of the underlying type.
namespace XRPCDetail
{

/// The stream form of a type.
enum XForm
{
    kNoForm,
    kNumber,
    kBool,
    kEnumeration,
    kString,
    kVersion,
    kColour,
    kOwnForm,
    kVector,
    kObject,
    kUniquePointer,
    kRefPointer,
};

template<class T>
inline constexpr bool kIsStorable = std::derived_from<T, XStorable>;

template<class T>
concept XHasOwnForm = std::default_initializable<T> &&
    requires( T& ioValue, const T& inValue, XStream& ioStream )
{
    inValue.WriteStream2( ioStream );
    ioValue.ReadStream2( ioStream );
};

/// Types that XVector can carry: those with a known stream size.
template<class T>
concept XIsVectorElement = XStreamDetail::kIsValue<T> || std::is_same_v<T, XVersion> ||
    std::is_same_v<T, XARGB32Colour> ||(kIsStorable<T>&& std::default_initializable<T>) ||
    ( XHasOwnForm<T> && requires { T::GetStreamUsage(); } );

template<class T>
struct XParts
{
    static constexpr XForm kForm = kNoForm;
};
template<class TElement>
struct XParts<XVector<TElement>>
{
    static constexpr XForm kForm = XIsVectorElement<TElement> ? kVector : kNoForm;
    using XPart = TElement;
};
template<class TObject>
struct XParts<std::unique_ptr<TObject>>
{
    static constexpr XForm kForm = kIsStorable<TObject> ? kUniquePointer : kNoForm;
    using XPart = TObject;
};
template<class TObject>
struct XParts<XRefPtr<TObject>>
{
    static constexpr XForm kForm =
        kIsStorable<TObject> && std::derived_from<TObject, XRefCountable> ? kRefPointer : kNoForm;
    using XPart = TObject;
};

template<class T>
consteval XForm GetForm()
{
    if constexpr ( std::is_same_v<T, bool> )
        return kBool;
    else if constexpr ( XStreamDetail::kIsValue<T> )
        return kNumber;
    else if constexpr ( std::is_enum_v<T> )
        return kEnumeration;
    else if constexpr ( std::is_same_v<T, XString> )
        return kString;
    else if constexpr ( std::is_same_v<T, XVersion> )
        return kVersion;
    else if constexpr ( std::is_same_v<T, XARGB32Colour> )
        return kColour;
    else if constexpr ( XParts<T>::kForm != kNoForm )
        return XParts<T>::kForm;
    else if constexpr ( kIsStorable<T> )
        return std::default_initializable<T> && std::movable<T> ? kObject : kNoForm;
    else if constexpr ( XHasOwnForm<T> )
        return kOwnForm;
    else
        return kNoForm;
}

template<class T>
void Write( XStream& ioStream, const T& inValue )
{
    constexpr XForm kForm = GetForm<T>();
    if constexpr ( kForm == kBool )
        ioStream.WriteBool( inValue );
    else if constexpr ( kForm == kNumber )
        ioStream.WriteValue( inValue );
    else if constexpr ( kForm == kEnumeration )
        Write( ioStream, static_cast<std::underlying_type_t<T>>( inValue ) );
    else if constexpr ( kForm == kString )
        ioStream.WriteString( inValue );
    else if constexpr ( kForm == kVersion )
        ioStream.WriteVersion( inValue );
    else if constexpr ( kForm == kColour )
        ioStream.WriteARGB32( inValue );
    else if constexpr ( kForm == kVector )
        XWriteVector( ioStream, inValue );
    else if constexpr ( kForm == kObject )
        ioStream.WriteObject( inValue );
    else if constexpr ( kForm == kUniquePointer )
        ioStream.WriteObject( static_cast<const XStorable*>( inValue.get() ) );
    else if constexpr ( kForm == kRefPointer )
        ioStream.WriteObject( static_cast<const XStorable*>( inValue.Get() ) );
    else if constexpr ( kForm == kOwnForm )
        inValue.WriteStream2( ioStream );
}

/// False if the object is not of the class; `outValue` is then unchanged.
template<class T>
bool ReadObjectInto( XStream& ioStream, T& outValue )
{
    constexpr XForm kForm = GetForm<T>();
    std::unique_ptr<XStorable> object( ioStream.ReadObject( XStorable::kUntrustedSource ) );
    if constexpr ( kForm == kObject )
    {
        auto* const value = dynamic_cast<T*>( object.get() );
        if ( !value || typeid( *value ) != typeid( T ) )
            return false;
        outValue = std::move( *value );
    }
    else
    {
        auto* const value = dynamic_cast<typename XParts<T>::XPart*>( object.get() );
        if ( object && !value )
            return false;
        object.release();
        outValue = T( value );
    }
    return true;
}

/// Reads a value. False if it is an object of another class, which has been read to its end.
template<class T>
bool Read( XStream& ioStream, T& outValue )
{
    constexpr XForm kForm = GetForm<T>();
    if constexpr ( kForm == kBool )
        outValue = ioStream.ReadBool();
    else if constexpr ( kForm == kNumber )
        outValue = ioStream.ReadValue<T>();
    else if constexpr ( kForm == kEnumeration )
    {
        std::underlying_type_t<T> value{};
        Read( ioStream, value );
        outValue = static_cast<T>( value );
    }
    else if constexpr ( kForm == kString )
        ioStream.ReadString( outValue );
    else if constexpr ( kForm == kVersion )
        outValue = ioStream.ReadVersion();
    else if constexpr ( kForm == kColour )
        outValue = ioStream.ReadARGB32();
    else if constexpr ( kForm == kVector )
        XReadVector( ioStream, outValue, XStorable::kUntrustedSource );
    else if constexpr ( kForm == kObject || kForm == kUniquePointer || kForm == kRefPointer )
        return ReadObjectInto( ioStream, outValue );
    else if constexpr ( kForm == kOwnForm )
        outValue.ReadStream2( ioStream );
    return true;
}

template<class T>
consteval bool CheckCanTravel()
{
    static_assert(
        !std::is_reference_v<T> && !std::is_const_v<T>,
        "Declare arguments and results of remote methods by value: XString, not const XString&." );
    static_assert(
        !std::is_pointer_v<T>,
        "Pointers cannot travel: use std::unique_ptr or XRefPtr, or XString for text." );
    static_assert(
        std::is_reference_v<T> || std::is_pointer_v<T> || GetForm<std::remove_cvref_t<T>>() != kNoForm,
        "This type cannot travel in a remote call. Those that can: numbers of at most 64 bits, bool, enumerations, "
        "XString, XTime, XTimePeriod, XUUID, XVersion, XARGB32Colour, XVector of those that XStreamVectors.h writes, "
        "classes derived from XStorable that can be made and moved, and std::unique_ptr and XRefPtr to XStorables." );
    return true;
}

/// The parameter type of the calling forms: small types by value.
template<class T>
using XArgument = std::conditional_t<std::is_arithmetic_v<T> || std::is_enum_v<T>, T, const T&>;

/// An optional result; `bool` for void methods.
template<class T>
struct XOutcomeOf
{
    using XType = std::optional<T>;
};
template<>
struct XOutcomeOf<void>
{
    using XType = bool;
};

} // namespace XRPCDetail

/// Whether values of the type can be arguments and results of remote calls.
template<class T>
concept XRPCType = XRPCDetail::GetForm<T>()
!= XRPCDetail::kNoForm;

/// Return type of the form `_NoThrow`: the result, or empty after a failure; for void methods whether the
/// call succeeded.
template<class T>
using XRPCOutcome = typename XRPCDetail::XOutcomeOf<T>::XType;
