#pragma once

#include "Core/Storables/XStorable.h"
#include "Core/Times/XTime.h"
#include "Jobs/XJob.h"

#include <memory>

class XNetJobResult;

/// A job that can run on another machine. Derive a class with its own class number, store its parameters after the fields
/// of this class, implement `RunJobSelf`, and register the class on nodes and clients.
///
/// A job must be deterministic: it gives the same result on every machine, because it may run twice.
///
/// An object of this class itself can be stored, but not run (1003).
///
/// Ownership, threads: as XJob.
/// Storage: only the low 32 bits of tag and group are stored; they are read as unsigned numbers.
/// Errors: reading throws 1005, 1015, 1260.
class KORVALE_API XNetJob : public XJob, public XStorable
{
public:
    /// A registration of shared data. The meaning of `purpose` is defined by the job's class.
    struct XSharedDataUse
    {
        std::uint32_t dataID;
        std::uint32_t purpose;
    };

    XNetJob();

    /// Copies the tag, the group and the stored fields, but neither result, result code, processor time, progress strategy
    /// nor queue. The target of an assignment must not be attached to a queue.
    XNetJob( const XNetJob& inOther );
    XNetJob& operator=( const XNetJob& inOther );
    ~XNetJob() override;

    // ---- Identification, set by the queue when the job is attached

    std::uint32_t GetJobQueueID() const { return itsJobQueueID; }
    void SetJobQueueID( std::uint32_t inJobQueueID ) { itsJobQueueID = inJobQueueID; }
    std::uint32_t GetClientID() const { return itsClientID; }
    void SetClientID( std::uint32_t inClientID ) { itsClientID = inClientID; }

    // ---- Shared data (XNetJobSharedData) that the job uses. Only the registrations are stored: queues do not transfer
    // the data, which a job must find by itself.

    void RegisterSharedData( std::uint32_t inDataID, std::uint32_t inPurpose );
    /// The IDs, in the order of registration.
    XVector<std::uint32_t> GetRegisteredSharedData() const;
    const XVector<XSharedDataUse>& GetSharedDataUses() const { return itsSharedDataUses; }

    // ---- Running

    /// Runs the body and measures its processor time.
    void RunJob() override;

    /// Returns true, because nodes may have no main thread that handles messages.
    bool CanCompleteInJobThread() override { return true; }

    /// Whether to measure the processor time of the whole process, for jobs that use other threads. False by default.
    virtual bool CalculateCPUTimeUsedByEntireProcess() const { return false; }

    /// User and system processor time of the last run; 0 before.
    XTime GetCPUTimeUsed() const { return itsCPUTimeUsed; }

    /// Resets the result code to 0.
    void Resumed() override;

    /// The output of the body, which sets it; available when the job is completed, with XJobQueue as well as with
    /// XNetJobQueue. Null if the body has set none.
    const XNetJobResult* GetResult() const { return itsResult.get(); }
    void SetResult( std::unique_ptr<XNetJobResult> inResult );
    std::unique_ptr<XNetJobResult> TakeResult();

    // ---- Storage

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XNetJob* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// Only the fields of this class, without its version.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

protected:
    void RunJobSelf() override;

private:
    std::uint32_t itsJobQueueID = 0;
    std::uint32_t itsClientID = 0;
    XVector<XSharedDataUse> itsSharedDataUses;
    XTime itsCPUTimeUsed = XTime( 0 );
    std::unique_ptr<XNetJobResult> itsResult; // not stored
};
