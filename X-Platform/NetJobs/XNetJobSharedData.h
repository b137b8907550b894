#pragma once

#include "Core/Storables/XStorable.h"

/// Data needed by several jobs. Queues do not transfer it. A derived class holds the data; it has its own class number, stores
/// its fields after those of this class, and is registered on nodes and clients. A value.
///
/// Errors: reading throws 1005, 1015, 1260.
class KORVALE_API XNetJobSharedData : public XStorable
{
public:
    explicit XNetJobSharedData(
        std::uint32_t inID = 0, std::uint32_t inJobQueueID = 0, std::uint32_t inClientID = 0 );
    XNetJobSharedData( const XNetJobSharedData& ) = default;
    XNetJobSharedData& operator=( const XNetJobSharedData& ) = default;
    ~XNetJobSharedData() override;

    /// Unique within the job queue.
    std::uint32_t GetID() const { return itsID; }
    std::uint32_t GetJobQueueID() const { return itsJobQueueID; }
    /// The client that owns the job queue.
    std::uint32_t GetClientID() const { return itsClientID; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XNetJobSharedData* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// Only the fields of this class, without its version.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsID;
    std::uint32_t itsJobQueueID;
    std::uint32_t itsClientID;
};
