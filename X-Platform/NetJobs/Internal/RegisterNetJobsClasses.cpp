#include "NetJobs/Internal/RegisterNetJobsClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "NetJobs/XAssignedJobInfo.h"
#include "NetJobs/XConnectionInfo.h"
#include "NetJobs/XControlBridge.h"
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

void RegisterNetJobsClasses()
{
    XClassRegistry::RegisterClass<XNetJob>( "Network Job" );
    XClassRegistry::RegisterClass<XNetJobResult>( "Network Job Result" );
    XClassRegistry::RegisterClass<XNetJobSharedData>( "Network Job Shared Data" );
    XClassRegistry::RegisterClass<XNetJobQueue::XJobProgressInfo>( "Job Progress" );
    XClassRegistry::RegisterClass<XNetJobQueue::XJobAttachmentInfo>( "Job Attachment" );
    XClassRegistry::RegisterClass<XNetJobQueue::XConnectionInfo>( "Data Connection" );
    XClassRegistry::RegisterClass<XNetJobQueueNode::XLogonInfo>( "Node Logon" );
    XClassRegistry::RegisterClass<XNetJobQueue::XLogonResult>( "Logon Result" );
    XClassRegistry::RegisterClass<XNetJobQueueNode::XAssignedJobInfo>( "Assigned Job" );
    XClassRegistry::RegisterClass<XNetJobEvent>( "Network Job Event" );
    XClassRegistry::RegisterClass<XNetJobStatus>( "Control Service Status" );
    XClassRegistry::RegisterAbstractClass<XControlBridge>( "Control Bridge" );
    XClassRegistry::RegisterClass<XNetJobCompletedMessage>( "Job Completed Message" );
    XClassRegistry::RegisterClass<XNetJobQueuePositionChangedMessage>( "Job Queue Position Message" );
}
