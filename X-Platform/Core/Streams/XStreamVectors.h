#pragma once

#include "Core/Storables/XARGB32Colour.h"
#include "Core/Streams/XStream.h"
#include "Ground/XFail.h"

#include <memory>

/// Vectors in streams: an unsigned 32-bit count, then the elements. Integers and floats are written in the
/// byte order of the stream, versions and colours in their own stream forms, UUIDs as their 16 bytes,
/// storable values with WriteStream2.
///
/// Errors: 1260 and 1005 for bytes that are not a vector; 1005 for storable values nested more than
/// XStream::kMaxObjectDepth deep; more than 0xFFFFFFFF elements are an internal error. A count that exceeds
/// the remaining bytes allocates next to nothing.

namespace XStreamDetail
{
template<class T>
inline constexpr bool kIsStorable = std::is_base_of_v<XStorable, T>;

/// The minimum number of bytes that a stored element takes.
template<class T>
constexpr USize64 GetLeastUsage()
{
    if constexpr ( kIsStorable<T> || std::is_same_v<T, XVersion> )
        return 4;
    else if constexpr ( kIsValue<T> || std::is_same_v<T, XARGB32Colour> )
        return sizeof( T );
    else
        return T::GetStreamUsage();
}

template<class T>
USize64 GetElementUsage( const T& inElement )
{
    if constexpr ( kIsStorable<T> )
        return inElement.GetStreamUsage();
    else
        return GetLeastUsage<T>();
}

template<class T>
void WriteElement( XStream& inStream, const T& inElement, XStorable::XOptions inOptions )
{
    if constexpr ( kIsStorable<T> )
    {
        const XStream::XNestedObject nested( inStream );
        inElement.WriteStream2( inStream, inOptions );
    }
    else if constexpr ( std::is_same_v<T, XVersion> )
        inStream.WriteVersion( inElement );
    else if constexpr ( std::is_same_v<T, XARGB32Colour> )
        inStream.WriteARGB32( inElement );
    else
        inElement.WriteStream2( inStream );
}

template<class T>
void ReadElement( XStream& inStream, T& outElement, XStorable::XOptions inOptions )
{
    if constexpr ( kIsStorable<T> )
    {
        const XStream::XNestedObject nested( inStream );
        outElement.ReadStream2( inStream, inOptions );
    }
    else if constexpr ( std::is_same_v<T, XVersion> )
        outElement = inStream.ReadVersion();
    else if constexpr ( std::is_same_v<T, XARGB32Colour> )
        outElement = inStream.ReadARGB32();
    else
        outElement.ReadStream2( inStream );
}

template<class T>
void WriteCount( XStream& inStream, const T& inContainer )
{
    const USize64 count = inContainer.size();
    XAssert( count <= 0xFFFFFFFFu );
    inStream.Write32( static_cast<std::uint32_t>( count ) );
}

/// Writes a container of pointers to storable values in the layout of a vector of those values.
template<class T>
void WritePointedTo( XStream& inStream, const T& inPointers, XStorable::XOptions inOptions )
{
    WriteCount( inStream, inPointers );
    for ( const auto& pointer : inPointers )
    {
        XAssert( pointer );
        WriteElement( inStream, *pointer, inOptions );
    }
}

template<class T>
USize64 GetPointedToUsage( const T& inPointers )
{
    USize64 usage = 4;
    for ( const auto& pointer : inPointers )
        usage += pointer->GetStreamUsage();
    return usage;
}
} // namespace XStreamDetail

template<class T>
void XWriteVector(
    XStream& inStream, const XVector<T>& inVector, XStorable::XOptions inOptions = XStorable::kNoOptions )
{
    XStreamDetail::WriteCount( inStream, inVector );
    if constexpr ( XStreamDetail::kIsValue<T> )
        inStream.WriteElements( inVector.data(), inVector.size(), sizeof( T ) );
    else
    {
        for ( const T& element : inVector )
            XStreamDetail::WriteElement( inStream, element, inOptions );
    }
}

/// Replaces the contents of `outVector`. After an exception it holds some of the elements.
template<class T>
void XReadVector(
    XStream& inStream, XVector<T>& outVector, XStorable::XOptions inOptions = XStorable::kNoOptions )
{
    const std::uint32_t count = inStream.Read32();
    if constexpr ( XStreamDetail::kIsValue<T> )
        inStream.ReadCounted( outVector, count );
    else
    {
        inStream.CheckRemaining( count, XStreamDetail::GetLeastUsage<T>() );
        outVector.clear();
        for ( std::uint32_t i = 0; i < count; ++i )
            XStreamDetail::ReadElement( inStream, outVector.emplace_back(), inOptions );
    }
}

/// The stored size in bytes: 4 plus the sizes of the elements.
template<class T>
USize64 XGetValueVectorStreamUsage( const XVector<T>& inVector )
{
    USize64 usage = 4;
    for ( const T& element : inVector )
        usage += XStreamDetail::GetElementUsage( element );
    return usage;
}

/// A vector with stream operations, in the same layout.
template<class T>
class XStreamingVector : public XVector<T>
{
public:
    using XVector<T>::XVector;

    void WriteStream( XStream& inStream, XStorable::XOptions inOptions = XStorable::kNoOptions ) const
    {
        XWriteVector<T>( inStream, *this, inOptions );
    }

    void ReadStream( XStream& inStream, XStorable::XOptions inOptions = XStorable::kNoOptions )
    {
        XReadVector<T>( inStream, *this, inOptions );
    }

    USize64 GetStreamUsage() const { return XGetValueVectorStreamUsage<T>( *this ); }
};

/// A vector that owns storable objects of class `T` through pointers; stored like a vector of those objects.
/// Writing a null pointer is an internal error.
template<class T>
class XStreamingPtrVector : public XVector<std::unique_ptr<T>>
{
public:
    using XVector<std::unique_ptr<T>>::XVector;

    void WriteStream( XStream& inStream, XStorable::XOptions inOptions = XStorable::kNoOptions ) const
    {
        XStreamDetail::WritePointedTo( inStream, *this, inOptions );
    }

    void ReadStream( XStream& inStream, XStorable::XOptions inOptions = XStorable::kNoOptions )
    {
        const std::uint32_t count = inStream.Read32();
        inStream.CheckRemaining( count, XStreamDetail::GetLeastUsage<T>() );
        this->clear();
        for ( std::uint32_t i = 0; i < count; ++i )
            XStreamDetail::ReadElement( inStream, *this->emplace_back( std::make_unique<T>() ), inOptions );
    }

    USize64 GetStreamUsage() const { return XStreamDetail::GetPointedToUsage( *this ); }
};

/// A vector of pointers to storable objects owned elsewhere; writes the layout that XStreamingPtrVector
/// reads.
template<class T>
class XStreamingConstPtrVector : public XVector<const T*>
{
public:
    using XVector<const T*>::XVector;

    void WriteStream( XStream& inStream, XStorable::XOptions inOptions = XStorable::kNoOptions ) const
    {
        XStreamDetail::WritePointedTo( inStream, *this, inOptions );
    }

    USize64 GetStreamUsage() const { return XStreamDetail::GetPointedToUsage( *this ); }
};
