#include "StatusPage/StatusMetrics.h"

namespace
{
/// A text as the value of a label, with its quotes. Control characters other than line breaks have no meaning in the format.
std::string QuoteLabel( const XString& inText )
{
    std::string quoted = "\"";
    for ( const char character : inText.ToUTF8() )
        if ( character == '\n' )
            quoted += "\\n";
        else if ( character == '\\' || character == '"' )
            quoted += std::string( "\\" ) + character;
        else
            quoted += character;
    return quoted + '"';
}

void AddHeader( const char* inName, const char* inType, const char* inHelp, std::string& ioText )
{
    ioText += std::string( "# HELP " ) + inName + ' ' + inHelp + "\n# TYPE " + inName + ' ' + inType + '\n';
}

void AddTotal( const char* inName, const char* inHelp, std::uint64_t inValue, std::string& ioText )
{
    AddHeader( inName, "counter", inHelp, ioText );
    ioText += std::string( inName ) + ' ' + std::to_string( inValue ) + '\n';
}

struct Metric
{
    const char* name;
    const char* type;
    const char* help;
};

/// A sample of each peer; `inGet` returns its value.
template<class TPeer, class TGet>
void AddSamples(
    const Metric& inMetric, const XVector<TPeer>& inPeers, const TGet& inGet, std::string& ioText )
{
    AddHeader( inMetric.name, inMetric.type, inMetric.help, ioText );
    for ( const TPeer& peer : inPeers )
        ioText += std::string( inMetric.name ) + "{id=\"" + std::to_string( peer.id ) +
            "\",name=" + QuoteLabel( peer.name ) + ",computer=" + QuoteLabel( peer.computerName ) + "} " +
            std::to_string( std::uint64_t{ inGet( peer ) } ) + '\n';
}

void AddNodes( const XVector<XNetJobStatus::XNode>& inNodes, std::string& ioText )
{
    using Node = XNetJobStatus::XNode;
    const auto add = [&]( const Metric& inMetric, const auto inField )
    {
        AddSamples(
            inMetric, inNodes, [&]( const Node& inNode ) { return inNode.*inField; }, ioText );
    };
    add( { "korvale_node_connected", "gauge",
           "1 for a connected node, 0 for one that may still log on again." },
         &Node::isConnected );
    add( { "korvale_node_workers", "gauge", "Jobs that the node runs at a time." }, &Node::workers );
    add( { "korvale_node_jobs_running", "gauge", "Jobs that have started." }, &Node::startedJobs );
    add( { "korvale_node_jobs_assigned", "gauge", "Jobs assigned to the node, running ones included." },
         &Node::assignedJobs );
    add( { "korvale_node_jobs_completed_total", "counter", "First results since the logon of the node." },
         &Node::completedJobs );
    add( { "korvale_node_memory_bytes", "gauge", "Memory that the process of the node occupies." },
         &Node::memoryInUse );
    add( { "korvale_node_memory_budget_bytes", "gauge", "Budget of the images and tables of the node." },
         &Node::memoryBudget );
}

void AddClients( const XVector<XNetJobStatus::XClient>& inClients, std::string& ioText )
{
    using Client = XNetJobStatus::XClient;
    const auto add = [&]( const Metric& inMetric, const auto inField )
    {
        AddSamples(
            inMetric, inClients, [&]( const Client& inClient ) { return inClient.*inField; }, ioText );
    };
    add( { "korvale_client_connected", "gauge",
           "1 for a connected client, 0 for one that may still log on again." },
         &Client::isConnected );
    add( { "korvale_client_jobs_waiting", "gauge", "Jobs that wait for a node." }, &Client::waitingJobs );
    add( { "korvale_client_jobs_suspended", "gauge", "Suspended jobs." }, &Client::suspendedJobs );
    add( { "korvale_client_jobs_assigned", "gauge", "Jobs assigned to nodes." }, &Client::assignedJobs );
    add( { "korvale_client_jobs_completed_total", "counter", "Results since the logon of the client." },
         &Client::completedJobs );
}
} // namespace

std::string WriteStatusMetrics( const XNetJobStatus& inStatus )
{
    std::string text;
    AddTotal(
        "korvale_jobs_completed_total", "Jobs completed since the start of the service.",
        inStatus.completedJobs, text );
    AddTotal(
        "korvale_failures_total",
        "Lost peers, refused logons and failed jobs since the start of the service.", inStatus.failureCount,
        text );
    AddNodes( inStatus.nodes, text );
    AddClients( inStatus.clients, text );
    return text;
}
