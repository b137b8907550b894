#pragma once

#include "Core/Storables/XStorable.h"

/// What has come of a job: its result code, and in derived classes what its body has found out. A derived class has a
/// number of its own, stores its fields after those of this class and is registered with the nodes and the clients. A
/// value.
///
/// Errors: reading throws 1005, 1015, 1260.
class KORVALE_API XNetJobResult : public XStorable
{
public:
    explicit XNetJobResult( std::uint32_t inJobID = 0, std::uint32_t inResultCode = 0 );
    XNetJobResult( const XNetJobResult& ) = default;
    XNetJobResult& operator=( const XNetJobResult& ) = default;
    ~XNetJobResult() override;

    std::uint32_t GetJobID() const { return itsJobID; }
    void SetJobID( std::uint32_t inJobID ) { itsJobID = inJobID; }

    /// As `XJob::GetResultCode`: 0 for success.
    std::uint32_t GetResultCode() const { return itsResultCode; }
    void SetResultCode( std::uint32_t inResultCode ) { itsResultCode = inResultCode; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XNetJobResult* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// The fields of this class alone, without its version.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsJobID;
    std::uint32_t itsResultCode;
};
