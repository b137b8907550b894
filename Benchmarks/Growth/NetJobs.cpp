#include "Growth/Operation.h"

#include "NetJobs/Internal/XNetJobDispatcher.h"
#include "NetJobs/XNetJob.h"
#include "NetJobs/XNetJobDeployment.h"
#include "NetJobs/XNetJobQueue.h"
#include "Services/XAppAndComputerInfo.h"

#include <utility>

namespace
{

using XEvents = XNetJobDispatcher::XEvents;

constexpr std::size_t kBatch = 1000;
constexpr std::uint32_t kOnlyQueue = 1;

class TaggedJob : public XNetJob
{
public:
    explicit TaggedJob( std::size_t inTag ) { SetTag( static_cast<std::int64_t>( inTag ) ); }
};

Seconds StopOneByOne( std::size_t inCount )
{
    XNetJobQueue queue( XNetJobDeployment{} ); // connects to nothing before its start
    for ( std::size_t tag = 1; tag <= inCount; ++tag )
        queue.AttachJob( new TaggedJob( tag ) );
    return Time(
        [&]
        {
            for ( std::size_t tag = inCount; tag > 0; --tag )
                queue.StopTaggedJobs( static_cast<std::int64_t>( tag ) );
        } );
}

Seconds AttachOnce( std::size_t inCount )
{
    XNetJobQueue queue( XNetJobDeployment{} );
    return Time(
        [&]
        {
            for ( std::size_t tag = 1; tag <= inCount; ++tag )
                queue.AttachJobIfTagNotPresent( new TaggedJob( tag ) );
        } );
}

/// A control service gets all jobs of a client, then assigns them to two nodes, which end them.
Seconds SubmitAndRun( std::size_t inCount )
{
    using XInfo = XAppVersion::XAppAndComputerInfo;
    const XVersion jobClass = XNetJob::GetClassVersion();
    XNetJobDispatcher service( XAppVersion::GetCurrent() );
    const std::uint32_t client = service.LogOnClient( 0, XInfo::GetCurrent(), 0 );
    const XNetJobQueueNode::XLogonInfo info(
        XNetJobQueueNode::kNodePermanent, XInfo::GetCurrent(), { jobClass }, false, 1 );
    const auto submit = [&]
    {
        XEvents jobs;
        for ( std::uint32_t job = 1; job <= inCount; ++job )
        {
            jobs.push_back( { XNetJobEvent::kSubmit, client, kOnlyQueue, job, jobClass } );
            if ( jobs.size() == kBatch || job == inCount )
                service.Receive( 0, client, std::exchange( jobs, {} ) );
        }
    };
    std::size_t ended = 0;
    // Answers each event of one kind that a peer gets with another one.
    const auto answer = [&]( std::uint32_t inPeer, XNetJobEvent::XKind inKind, XNetJobEvent::XKind inAnswer )
    {
        XEvents answers;
        for ( const XNetJobEvent& event : service.TakeEvents( inPeer ) )
            if ( event.kind == inKind )
                answers.push_back( { inAnswer, event.clientID, event.jobQueueID, event.jobID } );
        service.Receive( 0, inPeer, answers );
        return answers.size();
    };
    return Time(
        [&]
        {
            submit();
            const std::uint32_t nodes[] = {
                service.LogOnNode( 0, info, 0, {} ), service.LogOnNode( 0, info, 0, {} ) };
            while ( ended < inCount )
            {
                for ( const std::uint32_t node : nodes )
                    answer( node, XNetJobEvent::kAssign, XNetJobEvent::kEnded );
                ended += answer( client, XNetJobEvent::kEnded, XNetJobEvent::kTaken );
            }
        } );
}

} // namespace

void AddNetJobOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "network jobs: stop by tag one by one, by jobs", 1000, StopOneByOne } );
    ioOperations.push_back( { "network jobs: attach if tag not present, by jobs", 1000, AttachOnce } );
    ioOperations.push_back( { "network jobs: through a control service, by jobs", 4000, SubmitAndRun } );
}
