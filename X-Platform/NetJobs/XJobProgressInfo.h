#pragma once

#include "Core/Storables/XVersion.h"
#include "Core/Streams/XStorableT.h"
#include "Core/Strings/XString.h"
#include "NetJobs/XNetJobQueue.h"

/// The progress of a job: of its body, and of a data transfer for it. A value.
class KORVALE_API XNetJobQueue::XJobProgressInfo
    : public XStorableT<XNetJobQueue::XJobProgressInfo, kClassJobProgressInfo>
{
public:
    /// The fields that have changed since the previous report. Unknown bits are preserved.
    enum XChangeFlag : std::uint32_t
    {
        kProgressChanged = 1,
        kMessageChanged = 2,
        kObjectChanged = 4, ///< its ID or version
        kTransferChanged = 8,
        kRateChanged = 16,
    };

    explicit XJobProgressInfo( std::uint32_t inJobID = 0 );
    XJobProgressInfo( std::uint32_t inJobID, std::uint32_t inProgress, const XString& inMessage );
    XJobProgressInfo(
        std::uint32_t inJobID, std::uint32_t inProgress, const XString& inMessage, std::uint32_t inObjectID,
        const XVersion& inObjectVersion, std::uint32_t inTransferProgress, std::uint64_t inBytesPerSecond );
    XJobProgressInfo( const XJobProgressInfo& ) = default;
    XJobProgressInfo& operator=( const XJobProgressInfo& ) = default;
    ~XJobProgressInfo() override;

    std::uint32_t GetJobID() const { return itsJobID; }

    /// Progress of the job's body, per mille, and the message of its outermost progress.
    std::uint32_t GetProgress() const { return itsProgress; }
    const XString& GetMessage() const { return itsMessage; }

    /// The attachment or shared data being transferred, and its class; 0 if none is.
    std::uint32_t GetObjectID() const { return itsObjectID; }
    const XVersion& GetObjectVersion() const { return itsObjectVersion; }

    /// Progress of that transfer, per mille, and its rate.
    std::uint32_t GetDataTransferProgress() const { return itsDataTransferProgress; }
    std::uint64_t GetBytesPerSecond() const { return itsBytesPerSecond; }

    // ---- Change flags (XChangeFlag), initially none

    void AddChangeFlag( std::uint32_t inFlag ) { itsChangeFlags |= inFlag; }
    void RemoveChangeFlag( std::uint32_t inFlag ) { itsChangeFlags &= ~inFlag; }
    /// Whether any of the flags is set.
    bool HasChangeFlag( std::uint32_t inFlag ) const { return ( itsChangeFlags & inFlag ) != 0; }
    void ClearChangeFlags() { itsChangeFlags = 0; }
    std::uint32_t GetChangeFlags() const { return itsChangeFlags; }
    void SetChangeFlags( std::uint32_t inFlags ) { itsChangeFlags = inFlags; }

    USize64 GetFieldsUsage() const;
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsJobID;
    std::uint32_t itsProgress = 0;
    XString itsMessage;
    std::uint32_t itsObjectID = 0;
    XVersion itsObjectVersion;
    std::uint32_t itsDataTransferProgress = 0;
    std::uint64_t itsBytesPerSecond = 0;
    std::uint32_t itsChangeFlags = 0;
};
