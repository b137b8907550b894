#pragma once

#include "Core/Streams/XStream.h"

/// What storable classes declare alike that have no stored base and from which nobody derives. `TRecord` is the class,
/// which has, in public,
///
///     USize64 GetFieldsUsage() const;            // the bytes that its fields take in a stream
///     void ReadStreamSelf( XStream& inStream );  // the fields alone, without the class version
///     void WriteStreamSelf( XStream& inStream ) const;
///
/// Errors of reading: 1005 for another class, 1015 for a newer revision, and what the fields throw.
template<class TRecord, XClassNumber kClassNumber>
class XStorableT : public XStorable
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassNumber ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion( kClassNone ); }

    XVersion GetVersion() const override { return GetClassVersion(); }
    XStorable* Clone() const override { return new TRecord( GetRecord() ); }
    USize64 GetStreamUsage() const override { return sizeof( XVersion ) + GetRecord().GetFieldsUsage(); }

    void ReadStream2( XStream& inStream, XOptions = kNoOptions ) override
    {
        ReadCheckedVersion( inStream, GetClassVersion() );
        static_cast<TRecord&>( *this ).ReadStreamSelf( inStream );
    }

    void WriteStream2( XStream& inStream, XOptions = kNoOptions ) const override
    {
        inStream.WriteVersion( GetClassVersion() );
        GetRecord().WriteStreamSelf( inStream );
    }

private:
    const TRecord& GetRecord() const { return static_cast<const TRecord&>( *this ); }
};
