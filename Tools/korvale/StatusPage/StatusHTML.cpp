#include "StatusPage/StatusHTML.h"

#include "Core/Strings/XByteCount.h"
#include "Pivot/XPivotText.h"
#include "StatusPage/JobClassText.h"
#include "StatusPage/StatusJSON.h"

#include <algorithm>
#include <string_view>

namespace
{
constexpr std::size_t kMostShown = 200;
constexpr std::size_t kMostNameBytes = 200; // shown of a name, and five times as many of a failure
constexpr std::uint64_t kPlotHeight = 100;

// ---- Texts

std::string EscapeText( std::string_view inText )
{
    std::string escaped;
    for ( const char character : inText )
        switch ( character )
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += character;
        }
    return escaped;
}

/// In one line, and shortened.
std::string Escape( const XString& inText, std::size_t inMostBytes = kMostNameBytes )
{
    std::string text = XPivotText::ToUTF8Line( inText );
    if ( text.size() <= inMostBytes )
        return EscapeText( text );
    std::size_t end = inMostBytes;
    while ( end > 0 && ( static_cast<unsigned char>( text[end] ) & 0xC0 ) == 0x80 ) // within a character
        --end;
    return EscapeText( text.substr( 0, end ) ) + "\u2026";
}

std::string NamePeer( const XNetJobStatus::XPeer& inPeer )
{
    const std::string name = Escape( inPeer.name );
    return inPeer.computerName == inPeer.name ? name : name + " on " + Escape( inPeer.computerName );
}

std::string DescribeTime( std::uint64_t inMS )
{
    constexpr std::uint64_t kMinute = 60;
    constexpr std::uint64_t kHour = 60 * kMinute;
    const std::uint64_t seconds = inMS / 1000;
    if ( seconds < 2 * kMinute )
        return std::to_string( seconds ) + " s";
    return seconds < 2 * kHour ? std::to_string( seconds / kMinute ) + " min"
                               : std::to_string( seconds / kHour ) + " h";
}

std::string WriteCount( std::uint64_t inCount, const char* inNoun )
{
    return std::to_string( inCount ) + ' ' + inNoun + ( inCount == 1 ? "" : "s" );
}

// ---- Tables

struct TableColumn
{
    const char* name;
    bool isNumber;
};

/// A row of cells, which are HTML. Narrow screens show the name of the column beside each.
std::string MakeRow( const std::vector<TableColumn>& inColumns, const std::vector<std::string>& inCells )
{
    std::string text = "<tr>";
    for ( std::size_t i = 0; i < inCells.size(); ++i )
        text += std::string( "<td data-label=\"" ) + inColumns[i].name +
            ( inColumns[i].isNumber ? "\" class=\"number\">" : "\">" ) + "<span>" + inCells[i] +
            "</span></td>";
    return text + "</tr>";
}

std::string MakeTable( const std::vector<TableColumn>& inColumns, const std::string& inRows )
{
    std::string text = "<table><thead><tr>";
    for ( const TableColumn& column : inColumns )
        text += std::string( column.isNumber ? "<th class=\"number\">" : "<th>" ) + column.name + "</th>";
    return text + "</tr></thead><tbody>" + inRows + "</tbody></table>";
}

std::string MakeSection( const char* inID, const std::string& inTitle, const std::string& inContent )
{
    return std::string( "<section id=\"" ) + inID + "\"><h2>" + inTitle + "</h2>" + inContent + "</section>";
}

std::string DescribeState( const XNetJobStatus::XPeer& inPeer )
{
    return inPeer.isConnected ? "<span class=\"good\">connected</span>"
                              : "<span class=\"bad\">disconnected</span>";
}

/// Those to show: disconnected ones first, then in the natural order of their names, in which a '-' before a number is no
/// sign: "node-2" comes before "node-10".
template<class TPeer>
std::vector<const TPeer*> Choose( const XVector<TPeer>& inPeers )
{
    struct Place
    {
        const TPeer* peer;
        XString key;
    };
    std::vector<Place> places;
    for ( const TPeer& peer : inPeers )
    {
        std::string key( peer.name.GetStringView() );
        std::ranges::replace( key, '-', '_' );
        places.push_back( { &peer, XString( key ) } );
    }
    const auto isBefore = []( const Place& inFirst, const Place& inSecond )
    {
        if ( inFirst.peer->isConnected != inSecond.peer->isConnected )
            return inSecond.peer->isConnected;
        if ( inFirst.key < inSecond.key || inSecond.key < inFirst.key )
            return inFirst.key < inSecond.key;
        return inFirst.peer->id < inSecond.peer->id;
    };
    const auto end = places.begin() + static_cast<std::ptrdiff_t>( std::min( places.size(), kMostShown ) );
    std::partial_sort( places.begin(), end, places.end(), isBefore );
    std::vector<const TPeer*> chosen;
    for ( auto place = places.begin(); place != end; ++place )
        chosen.push_back( place->peer );
    return chosen;
}

/// A section with a table of nodes or clients; `inMakeRow` returns the row of one.
template<class TPeer, class TMakeRow>
std::string MakePeers(
    const char* inNoun, const XVector<TPeer>& inPeers, const std::vector<TableColumn>& inColumns,
    const TMakeRow& inMakeRow )
{
    std::string content = std::string( "<p>No " ) + inNoun + " is logged on.</p>";
    if ( !inPeers.empty() )
    {
        std::string rows;
        for ( const TPeer* const peer : Choose( inPeers ) )
            rows += MakeRow( inColumns, inMakeRow( *peer ) );
        content = MakeTable( inColumns, rows );
    }
    if ( inPeers.size() > kMostShown )
        content += "<p>" + WriteCount( inPeers.size() - kMostShown, inNoun ) + " more: see status.json.</p>";
    const std::string id = std::string( inNoun ) + 's';
    return MakeSection( id.c_str(), WriteCount( inPeers.size(), inNoun ), content );
}

std::string DescribeLoad( const XNetJobStatus::XNode& inNode )
{
    const std::string most = std::to_string( std::max( inNode.workers, 1u ) );
    const std::string running = std::to_string( inNode.startedJobs );
    return "<progress aria-hidden=\"true\" value=\"" + running + "\" max=\"" + most + "\"></progress> " +
        running + " of " + WriteCount( inNode.workers, "worker" );
}

std::string DescribeMemory( const XNetJobStatus::XNode& inNode )
{
    if ( inNode.memoryInUse == 0 || inNode.memoryBudget == 0 )
        return "not reported";
    return XFormatByteCount( inNode.memoryInUse ) + " of " + XFormatByteCount( inNode.memoryBudget );
}

std::string NameCurrentJob( const XNetJobStatus::XNode& inNode )
{
    if ( inNode.startedJobs == 0 )
        return "none";
    return EscapeText( DescribeJobClass( inNode.currentJobClass ) ) + ' ' +
        std::to_string( inNode.currentJobID ) + ", for " + DescribeTime( inNode.currentRunMS );
}

std::string MakeNodes( const XNetJobStatus& inStatus )
{
    return MakePeers(
        "node", inStatus.nodes,
        { { "Node", false },
          { "State", false },
          { "Load", false },
          { "Memory", false },
          { "Current job", false },
          { "Jobs per second", true },
          { "Completed", true } },
        []( const XNetJobStatus::XNode& inNode )
        {
            return std::vector<std::string>{
                NamePeer( inNode ),
                DescribeState( inNode ),
                DescribeLoad( inNode ),
                DescribeMemory( inNode ),
                NameCurrentJob( inNode ),
                WriteJobRate( inNode.jobsInTenSeconds ),
                std::to_string( inNode.completedJobs ) };
        } );
}

std::string MakeClients( const XNetJobStatus& inStatus )
{
    return MakePeers(
        "client", inStatus.clients,
        { { "Client", false },
          { "State", false },
          { "Waiting", true },
          { "Suspended", true },
          { "Assigned", true },
          { "Jobs per second", true },
          { "Completed", true } },
        []( const XNetJobStatus::XClient& inClient )
        {
            return std::vector<std::string>{
                NamePeer( inClient ),
                DescribeState( inClient ),
                std::to_string( inClient.waitingJobs ),
                std::to_string( inClient.suspendedJobs ),
                std::to_string( inClient.assignedJobs ),
                WriteJobRate( inClient.jobsInTenSeconds ),
                std::to_string( inClient.completedJobs ) };
        } );
}

std::string MakeFailures( const XNetJobStatus& inStatus )
{
    if ( inStatus.failures.empty() )
        return MakeSection( "failures", "Recent failures", "<p>None.</p>" );
    const std::vector<TableColumn> columns{ { "Failure", false }, { "Ago", true } };
    std::string rows;
    for ( auto failure = inStatus.failures.rbegin(); failure != inStatus.failures.rend(); ++failure )
        rows += MakeRow(
            columns, { Escape( failure->text, 5 * kMostNameBytes ), DescribeTime( failure->ageMS ) } );
    return MakeSection(
        "failures", "Recent failures (" + std::to_string( inStatus.failureCount ) + " in all)",
        MakeTable( columns, rows ) );
}

// ---- Throughput

/// The least of 1, 2, 5, 10, 20, ... that is not smaller.
std::uint64_t RoundUp( std::uint64_t inValue )
{
    for ( std::uint64_t power = 1;; power *= 10 )
        for ( const std::uint64_t digit : { 1U, 2U, 5U } )
            if ( digit * power >= inValue || power > inValue )
                return digit * power;
}

/// A drawing without text, which the page stretches to its width. The newest period is at the right.
std::string DrawThroughput( const XVector<std::uint64_t>& inCounts, std::uint64_t inMost )
{
    const std::string width = std::to_string( XNetJobStatus::kMostThroughputPeriods );
    const std::string bottom = std::to_string( kPlotHeight );
    const std::size_t first = XNetJobStatus::kMostThroughputPeriods - inCounts.size();
    const std::string begin = 'M' + std::to_string( first ) + ' ' + bottom;
    std::string steps;
    for ( std::size_t i = 0; i < inCounts.size(); ++i )
        steps += 'V' + std::to_string( kPlotHeight - inCounts[i] * kPlotHeight / inMost ) + 'H' +
            std::to_string( first + i + 1 );
    std::string text =
        "<svg role=\"img\" aria-label=\"Jobs per second over the last ten minutes\" viewBox=\"0 -2 " + width +
        " 102\" preserveAspectRatio=\"none\">";
    if ( !steps.empty() )
        text += "<path class=\"area\" d=\"" + begin + steps + 'V' + bottom +
            "Z\"/><path class=\"line\" d=\"" + begin + steps + "\"/>";
    return text + "</svg>";
}

std::string MakeThroughput( const XNetJobStatus& inStatus )
{
    constexpr std::uint64_t kPeriodSeconds = XNetJobStatus::kThroughputPeriodMS / 1000;
    XVector<std::uint64_t> counts = inStatus.throughput;
    if ( counts.size() > XNetJobStatus::kMostThroughputPeriods )
        counts.resize( XNetJobStatus::kMostThroughputPeriods );
    const std::uint64_t peak = counts.empty() ? 0 : *std::ranges::max_element( counts );
    const std::uint64_t most = RoundUp( ( peak + kPeriodSeconds - 1 ) / kPeriodSeconds );
    return MakeSection(
        "throughput", "Jobs per second",
        "<div class=\"axis\"><span>" + std::to_string( most ) + "</span></div>" +
            DrawThroughput( counts, most * kPeriodSeconds ) +
            "<div class=\"axis\"><span>10 minutes ago</span><span>5 minutes ago</span><span>now</span></div>" );
}

// ---- Totals

std::string MakeTotals( const XNetJobStatus& inStatus )
{
    std::uint64_t workers = 0;
    std::uint64_t running = 0;
    std::uint64_t waiting = 0;
    for ( const XNetJobStatus::XNode& node : inStatus.nodes )
    {
        workers += node.isConnected ? node.workers : 0;
        running += node.startedJobs;
    }
    for ( const XNetJobStatus::XClient& client : inStatus.clients )
        waiting += client.waitingJobs;
    std::string items;
    const auto add = [&]( const char* inName, const std::string& inValue )
    { items += std::string( "<div><dt>" ) + inName + "</dt><dd>" + inValue + "</dd></div>"; };
    add( "Completed jobs", std::to_string( inStatus.completedJobs ) );
    add( "Jobs per second", WriteJobRate( inStatus.jobsInTenSeconds ) );
    add( "Running jobs", std::to_string( running ) );
    add( "Waiting jobs", std::to_string( waiting ) );
    add( "Workers", std::to_string( workers ) );
    add( "Failures", std::to_string( inStatus.failureCount ) );
    return MakeSection( "totals", "Now", "<dl>" + items + "</dl>" );
}
} // namespace

std::string WriteStatusHTML( const XNetJobStatus& inStatus )
{
    return MakeTotals( inStatus ) + MakeThroughput( inStatus ) + MakeNodes( inStatus ) +
        MakeClients( inStatus ) + MakeFailures( inStatus );
}
