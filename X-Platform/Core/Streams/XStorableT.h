#pragma once

#include "Core/Streams/XStream.h"

/// Base of final storable classes without a stored base: implements the operations of XStorable. `TRecord` is the derived
/// class, with the public operations
///
///     USize64 GetFieldsUsage() const;            // size of the fields in a stream, in bytes
///     void ReadStreamSelf( XStream& inStream );  // the fields, without the class version
///     void WriteStreamSelf( XStream& inStream ) const;
///
/// Errors: reading throws 1005 for another class, 1015 for a newer revision, and the errors of the fields.
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
