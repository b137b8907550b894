#include "NetJobs/XNetJobStatus.h"

#include "Core/Streams/XStream.h"

// Each list is a count and the fields of its elements, in the order of their declaration. The same function visits the fields
// to measure, read and write them.

namespace
{

template<class TVisitor, class TStatus>
void VisitFields( TVisitor& ioVisitor, TStatus& ioStatus )
{
    ioVisitor.Number( ioStatus.completedJobs );
    ioVisitor.Number( ioStatus.jobsInTenSeconds );
    ioVisitor.List(
        ioStatus.nodes,
        [&]( auto& ioNode )
        {
            ioVisitor.Number( ioNode.id );
            ioVisitor.Text( ioNode.name );
            ioVisitor.Text( ioNode.computerName );
            ioVisitor.Number( ioNode.workers );
            ioVisitor.Number( ioNode.assignedJobs );
            ioVisitor.Number( ioNode.startedJobs );
            ioVisitor.Number( ioNode.completedJobs );
            ioVisitor.Number( ioNode.silentMS );
            ioVisitor.Flag( ioNode.isConnected );
        } );
    ioVisitor.List(
        ioStatus.clients,
        [&]( auto& ioClient )
        {
            ioVisitor.Number( ioClient.id );
            ioVisitor.Text( ioClient.name );
            ioVisitor.Text( ioClient.computerName );
            ioVisitor.Number( ioClient.waitingJobs );
            ioVisitor.Number( ioClient.suspendedJobs );
            ioVisitor.Number( ioClient.assignedJobs );
            ioVisitor.Number( ioClient.completedJobs );
            ioVisitor.Flag( ioClient.isConnected );
        } );
    ioVisitor.List(
        ioStatus.failures,
        [&]( auto& ioFailure )
        {
            ioVisitor.Number( ioFailure.ageMS );
            ioVisitor.Text( ioFailure.text );
        } );
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
        constexpr USize64 kLeastUsage = 12; // of an element: a 64-bit number and an empty text
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
