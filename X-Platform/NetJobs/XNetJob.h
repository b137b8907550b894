#pragma once

#include "Core/Storables/XStorable.h"
#include "Core/Times/XTime.h"
#include "Jobs/XJob.h"

/// A job that can run on another machine. Derive from it, give the class a number of its own, store the job's parameters
/// after those of this class, implement `RunJobSelf`, and register the class with the nodes and the clients.
///
/// A job is deterministic: it gives the same result wherever it runs, and may run twice.
///
/// This class itself is the record of a job whose class the process does not know: it can be read, passed on and written,
/// but not run (1003).
///
/// Ownership, threads: as XJob.
/// Storage: tags and groups travel with their low 32 bits and come back as numbers from 0 on.
/// Errors: reading throws 1005, 1015, 1260.
class KORVALE_API XNetJob : public XJob, public XStorable
{
public:
    /// Shared data that the job needs, and as what: a number that the job's class gives a meaning.
    struct XSharedDataUse
    {
        std::uint32_t dataID;
        std::uint32_t purpose;
    };

    XNetJob() = default;

    /// A copy has the tag, the group and all that is stored, and is in no queue: result code, processor time and
    /// progress strategy are its own. Assign only to jobs that have not been attached.
    XNetJob( const XNetJob& inOther );
    XNetJob& operator=( const XNetJob& inOther );
    ~XNetJob() override;

    // ---- Whose the job is: set by the queue that it is attached to

    std::uint32_t GetJobQueueID() const { return itsJobQueueID; }
    void SetJobQueueID( std::uint32_t inJobQueueID ) { itsJobQueueID = inJobQueueID; }
    std::uint32_t GetClientID() const { return itsClientID; }
    void SetClientID( std::uint32_t inClientID ) { itsClientID = inClientID; }

    // ---- Data that several jobs share (XNetJobSharedData) and that is on the node before the job runs

    void RegisterSharedData( std::uint32_t inDataID, std::uint32_t inPurpose );
    /// The IDs, in the order in which they were registered.
    XVector<std::uint32_t> GetRegisteredSharedData() const;
    const XVector<XSharedDataUse>& GetSharedDataUses() const { return itsSharedDataUses; }

    // ---- Running

    /// Runs the body and measures the processor time that it takes.
    void RunJob() override;

    /// True: nodes need no main thread that handles messages.
    bool CanCompleteInJobThread() override { return true; }

    /// Whether the job works on other threads as well, so that the time of the whole process counts as its own. False by
    /// default.
    virtual bool CalculateCPUTimeUsedByEntireProcess() const { return false; }

    /// Processor time of the last run, in the system and outside it; 0 before.
    XTime GetCPUTimeUsed() const { return itsCPUTimeUsed; }

    /// A job that waits for its turn again has no result: the result code becomes 0.
    void Resumed() override;

    // ---- Storage

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XNetJob* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// The fields of this class alone, without its version.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

protected:
    void RunJobSelf() override;

private:
    std::uint32_t itsJobQueueID = 0;
    std::uint32_t itsClientID = 0;
    XVector<XSharedDataUse> itsSharedDataUses;
    XTime itsCPUTimeUsed = XTime( 0 );
};
