#pragma once

#include "Core/Storables/XStorable.h"

/// The result of a job: its result code, and in derived classes the output of its body. A derived class has its own class
/// number, stores its fields after those of this class, and is registered on nodes and clients. A value.
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

    /// 0 for success, otherwise an error number, as `XJob::GetResultCode`.
    std::uint32_t GetResultCode() const { return itsResultCode; }
    void SetResultCode( std::uint32_t inResultCode ) { itsResultCode = inResultCode; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XNetJobResult* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// Only the fields of this class, without its version.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsJobID;
    std::uint32_t itsResultCode;
};
