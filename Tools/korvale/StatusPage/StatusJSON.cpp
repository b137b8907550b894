#include "StatusPage/StatusJSON.h"

#include "StatusPage/JobClassText.h"
#include "Support/JSONText.h"

namespace
{
std::string Quote( const XString& inText )
{
    return QuoteJSON( inText.ToUTF8() );
}

/// An array of objects; `inWrite` returns the members of one.
template<class TElement, class TWrite>
std::string MakeArray( const XVector<TElement>& inElements, const TWrite& inWrite )
{
    std::string text;
    for ( const TElement& element : inElements )
        text += std::string( text.empty() ? "\n    { " : ",\n    { " ) + inWrite( element ) + " }";
    return "[" + text + ( text.empty() ? "]" : "\n  ]" );
}

std::string Member( const char* inName, const std::string& inValue )
{
    return std::string( ", \"" ) + inName + "\": " + inValue;
}

std::string Member( const char* inName, std::uint64_t inValue )
{
    return Member( inName, std::to_string( inValue ) );
}

std::string DescribePeer( const XNetJobStatus::XPeer& inPeer )
{
    return "\"id\": " + std::to_string( inPeer.id ) + Member( "name", Quote( inPeer.name ) ) +
        Member( "computer", Quote( inPeer.computerName ) ) +
        Member( "connected", inPeer.isConnected ? "true" : "false" ) +
        Member( "assigned", inPeer.assignedJobs ) + Member( "completed", inPeer.completedJobs ) +
        Member( "jobs_per_second", WriteJobRate( inPeer.jobsInTenSeconds ) );
}

std::string DescribeCurrentJob( const XNetJobStatus::XNode& inNode )
{
    if ( inNode.startedJobs == 0 )
        return "null";
    return "{ \"client\": " + std::to_string( inNode.currentClientID ) + Member( "id", inNode.currentJobID ) +
        Member( "class", QuoteJSON( DescribeJobClass( inNode.currentJobClass ) ) ) +
        Member( "running_ms", inNode.currentRunMS ) + " }";
}

std::string DescribeNode( const XNetJobStatus::XNode& inNode )
{
    return DescribePeer( inNode ) + Member( "running", inNode.startedJobs ) +
        Member( "workers", inNode.workers ) + Member( "silent_ms", inNode.silentMS ) +
        Member( "memory_bytes", inNode.memoryInUse ) + Member( "memory_budget_bytes", inNode.memoryBudget ) +
        Member( "current_job", DescribeCurrentJob( inNode ) );
}

std::string DescribeClient( const XNetJobStatus::XClient& inClient )
{
    return DescribePeer( inClient ) + Member( "waiting", inClient.waitingJobs ) +
        Member( "suspended", inClient.suspendedJobs );
}

std::string DescribeFailure( const XNetJobStatus::XFailure& inFailure )
{
    return "\"text\": " + Quote( inFailure.text ) + Member( "age_ms", inFailure.ageMS );
}

std::string DescribeThroughput( const XVector<std::uint64_t>& inCounts )
{
    std::string text;
    for ( const std::uint64_t count : inCounts )
        text += ( text.empty() ? "" : ", " ) + std::to_string( count );
    return "{ \"period_ms\": " + std::to_string( XNetJobStatus::kThroughputPeriodMS ) + ", \"jobs\": [" +
        text + "] }";
}
} // namespace

std::string WriteJobRate( std::uint64_t inJobsInTenSeconds )
{
    return std::to_string( inJobsInTenSeconds / 10 ) + '.' + std::to_string( inJobsInTenSeconds % 10 );
}

std::string WriteStatusJSON( const XNetJobStatus& inStatus )
{
    return "{\n  \"completed\": " + std::to_string( inStatus.completedJobs ) +
        ",\n  \"jobs_per_second\": " + WriteJobRate( inStatus.jobsInTenSeconds ) +
        ",\n  \"failure_count\": " + std::to_string( inStatus.failureCount ) +
        ",\n  \"nodes\": " + MakeArray( inStatus.nodes, DescribeNode ) +
        ",\n  \"clients\": " + MakeArray( inStatus.clients, DescribeClient ) +
        ",\n  \"failures\": " + MakeArray( inStatus.failures, DescribeFailure ) +
        ",\n  \"throughput\": " + DescribeThroughput( inStatus.throughput ) + "\n}\n";
}
