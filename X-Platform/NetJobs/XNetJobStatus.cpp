#include "NetJobs/XNetJobStatus.h"

#include "Core/Streams/XStream.h"

// Each list is a count and its elements. The same functions visit the fields to measure, read and write them.

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr std::uint64_t XNetJobStatus::kThroughputPeriodMS;
constexpr USize XNetJobStatus::kMostThroughputPeriods;

namespace
{

template<class TVisitor, class TPeer>
void VisitPeer( TVisitor& ioVisitor, TPeer& ioPeer )
{
    ioVisitor.Number( ioPeer.id );
    ioVisitor.Text( ioPeer.name );
    ioVisitor.Text( ioPeer.computerName );
    ioVisitor.Number( ioPeer.assignedJobs );
    ioVisitor.Number( ioPeer.completedJobs );
    ioVisitor.Number( ioPeer.jobsInTenSeconds );
    ioVisitor.Flag( ioPeer.isConnected );
}

template<class TVisitor, class TNode>
void VisitNode( TVisitor& ioVisitor, TNode& ioNode )
{
    VisitPeer( ioVisitor, ioNode );
    ioVisitor.Number( ioNode.workers );
    ioVisitor.Number( ioNode.startedJobs );
    ioVisitor.Number( ioNode.silentMS );
    ioVisitor.Number( ioNode.memoryInUse );
    ioVisitor.Number( ioNode.memoryBudget );
    ioVisitor.Number( ioNode.currentClientID );
    ioVisitor.Number( ioNode.currentJobID );
    ioVisitor.Number( ioNode.currentJobClass );
    ioVisitor.Number( ioNode.currentRunMS );
}

template<class TVisitor, class TClient>
void VisitClient( TVisitor& ioVisitor, TClient& ioClient )
{
    VisitPeer( ioVisitor, ioClient );
    ioVisitor.Number( ioClient.waitingJobs );
    ioVisitor.Number( ioClient.suspendedJobs );
}

template<class TVisitor, class TFailure>
void VisitFailure( TVisitor& ioVisitor, TFailure& ioFailure )
{
    ioVisitor.Number( ioFailure.ageMS );
    ioVisitor.Text( ioFailure.text );
}

template<class TVisitor, class TStatus>
void VisitFields( TVisitor& ioVisitor, TStatus& ioStatus )
{
    ioVisitor.Number( ioStatus.completedJobs );
    ioVisitor.Number( ioStatus.jobsInTenSeconds );
    ioVisitor.Number( ioStatus.failureCount );
    ioVisitor.List( ioStatus.nodes, [&]( auto& ioNode ) { VisitNode( ioVisitor, ioNode ); } );
    ioVisitor.List( ioStatus.clients, [&]( auto& ioClient ) { VisitClient( ioVisitor, ioClient ); } );
    ioVisitor.List( ioStatus.failures, [&]( auto& ioFailure ) { VisitFailure( ioVisitor, ioFailure ); } );
    ioVisitor.List( ioStatus.throughput, [&]( auto& ioCount ) { ioVisitor.Number( ioCount ); } );
}

struct Meter
{
    template<class T>
    void Number( const T& )
    {
        usage += sizeof( T );
    }
    void Flag( bool ) { usage += sizeof( std::uint8_t ); }
    void Text( const XString& inText ) { usage += inText.GetStreamUsage(); }
    template<class T, class TVisit>
    void List( const XVector<T>& inList, const TVisit& inVisit )
    {
        usage += sizeof( std::uint32_t );
        for ( const T& element : inList )
            inVisit( element );
    }

    USize64 usage = 0;
};

struct Writer
{
    template<class T>
    void Number( const T& inNumber )
    {
        stream.WriteValue( inNumber );
    }
    void Flag( bool inFlag ) { stream.WriteBool( inFlag ); }
    void Text( const XString& inText ) { stream.WriteString( inText ); }
    template<class T, class TVisit>
    void List( const XVector<T>& inList, const TVisit& inVisit )
    {
        stream.Write32( static_cast<std::uint32_t>( inList.size() ) );
        for ( const T& element : inList )
            inVisit( element );
    }

    XStream& stream;
};

struct Reader
{
    template<class T>
    void Number( T& outNumber )
    {
        outNumber = stream.ReadValue<T>();
    }
    void Flag( bool& outFlag ) { outFlag = stream.ReadBool(); }
    void Text( XString& outText ) { stream.ReadString( outText ); }
    template<class T, class TVisit>
    void List( XVector<T>& outList, const TVisit& inVisit )
    {
        constexpr USize64 kLeastUsage = 8; // of an element: a 64-bit number
        const std::uint32_t count = stream.Read32();
        stream.CheckRemaining( count, kLeastUsage );
        outList.clear();
        for ( std::uint32_t i = 0; i < count; ++i )
            inVisit( outList.emplace_back() );
    }

    XStream& stream;
};

} // namespace

XNetJobStatus::~XNetJobStatus() = default;

USize64 XNetJobStatus::GetFieldsUsage() const
{
    Meter meter;
    VisitFields( meter, *this );
    return meter.usage;
}

void XNetJobStatus::ReadStreamSelf( XStream& inStream )
{
    Reader reader{ inStream };
    VisitFields( reader, *this );
}

void XNetJobStatus::WriteStreamSelf( XStream& inStream ) const
{
    Writer writer{ inStream };
    VisitFields( writer, *this );
}
