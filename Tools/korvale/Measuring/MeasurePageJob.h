#pragma once

#include "Imaging/Pages/XPageMemory.h"
#include "Imaging/XImageReader.h"
#include "Measuring/CachedPage.h"
#include "Measuring/MeasuredPage.h"
#include "Measuring/SharedFile.h"
#include "NetJobs/XNetJob.h"
#include "NetJobs/XNetJobEvent.h"
#include "NetJobs/XNetJobResult.h"
#include "Support/Failure.h"

#include <functional>
#include <optional>
#include <string>

/// What a node has found on a page.
class MeasurePageResult : public XNetJobResult
{
public:
    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override { return GetClassVersion(); }
    MeasurePageResult* Clone() const override { return new MeasurePageResult( *this ); }
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override;

    MeasuredPage page;              ///< empty after a failure
    double ignoredPixelSize = 0;    ///< XImageReader::GetIgnoredPixelSize, if the node has read the file
    std::optional<Failure> failure; ///< of this page
};

/// Measures a page on a node. Its samples travel with the job, unless client and nodes read the same files.
class MeasurePageJob : public XNetJob
{
public:
    struct Request
    {
        std::string image;      ///< the displayed name
        std::uint32_t page = 0; ///< counted from 0
        XMeasureSettings settings;
        bool needsOverlay = false;
        std::optional<SharedFile> file; ///< without a value, the samples travel with the job
        XImageReadSettings reading;     ///< of the file
    };

    /// The largest samples that can travel with a job.
    static constexpr std::uint64_t kMostBytes = XNetJobEvent::kMostBytes - 1024 * 1024;

    /// Called on the main thread, or on the thread that stops the job, which may take its result.
    using Completed = std::function<void( MeasurePageJob& ioJob, std::uint32_t inResultCode )>;

    /// To be read from a stream.
    MeasurePageJob() = default;
    /// The job uses the samples, and the memory in which they are locked, until it is completed.
    MeasurePageJob(
        const Request& inRequest, CachedPage* ioSamples, XPageMemory* ioMemory, Completed inCompleted );

    /// Registers both classes, so that this process can be a client or a node.
    static void Register();

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override { return GetClassVersion(); }
    /// Without the samples and the completion.
    MeasurePageJob* Clone() const override
    {
        return new MeasurePageJob( itsRequest, nullptr, nullptr, nullptr );
    }
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override;

    bool ShouldSendCompletedMessage() override { return false; }

protected:
    void RunJobSelf() override;
    void JobCompleteSelf( std::uint32_t inResultCode ) override;

private:
    Request itsRequest;
    CachedPage* itsSamples = nullptr; // of the client
    XPageMemory* itsMemory = nullptr;
    WImagePage itsPage; // on the node, unless it reads the file
    Completed itsCompleted;

    void Measure( MeasurePageResult& outResult );
    WImagePage ReadFile( double& outIgnoredPixelSize ) const;
    void CheckFile() const;
};
