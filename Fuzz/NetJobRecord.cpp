// The records of network jobs. The first byte selects the class and the byte order; the body of a record follows. A record
// that can be read must survive a round trip unchanged and report its size exactly; anything else must be rejected with a
// documented error number.

#include "FuzzTools.h"

#include "NetJobs/XAssignedJobInfo.h"
#include "NetJobs/XConnectionInfo.h"
#include "NetJobs/XJobAttachmentInfo.h"
#include "NetJobs/XJobProgressInfo.h"
#include "NetJobs/XLogonInfo.h"
#include "NetJobs/XLogonResult.h"
#include "NetJobs/XNetJob.h"
#include "NetJobs/XNetJobCompletedMessage.h"
#include "NetJobs/XNetJobEvent.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "NetJobs/XNetJobSharedData.h"
#include "NetJobs/XNetJobStatus.h"

#include <iterator>

namespace
{

template<class TRecord>
std::unique_ptr<XStorable> Make()
{
    return std::make_unique<TRecord>();
}

// The seeds refer to the classes by index.
constexpr std::unique_ptr<XStorable> ( *kMakers[] )() = {
    Make<XAppVersion>,
    Make<XAppVersion::XAppAndComputerInfo>,
    Make<XNetJob>,
    Make<XNetJobResult>,
    Make<XNetJobSharedData>,
    Make<XNetJobQueue::XJobProgressInfo>,
    Make<XNetJobQueue::XJobAttachmentInfo>,
    Make<XNetJobQueue::XConnectionInfo>,
    Make<XNetJobQueueNode::XLogonInfo>,
    Make<XNetJobQueue::XLogonResult>,
    Make<XNetJobQueueNode::XAssignedJobInfo>,
    Make<XNetJobCompletedMessage>,
    Make<XNetJobQueuePositionChangedMessage>,
    Make<XNetJobEvent>,
    Make<XNetJobStatus>,
};

/// Checks that the record writes as many bytes as GetStreamUsage reports.
void RequireUsage( const XStorable& inRecord )
{
    XMemStream stream;
    inRecord.WriteStream2( stream );
    Require( stream.GetLength() == inRecord.GetStreamUsage() );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    if ( inSize == 0 )
        return 0;
    const std::unique_ptr<XStorable> record = kMakers[inData[0] / 2 % std::size( kMakers )]();
    XMemStream stream( inData + 1, inSize - 1 );
    stream.SetByteOrder( inData[0] % 2 == 0 ? kIntelOrder : kMotorolaOrder );
    bool isRead = false;
    RequireDocumentedErrors(
        { 1003, 1005, 1015, 1260 },
        [&]
        {
            record->ReadStream2( stream );
            isRead = true;
        } );
    if ( !isRead )
        return 0;
    RequireUsage( *record );
    RequireRoundTrip( *record );
    const std::unique_ptr<XStorable> clone( record->Clone() );
    Require( clone->GetStreamUsage() == record->GetStreamUsage() );
    return 0;
}
