#include "Ground/XFail.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XInternalErrorHandlers.h"
#include "Process/WDebugger.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

// What happens on an internal error, in this order: a debugger, if there is one, is entered; the crash dump,
// the event log and the session log get the failed expression through the installed handlers, each protected
// from the exceptions of the others; then XInternalException is thrown. An error within a handler throws at
// once, without handlers.
//
// The file that is reported is that of the class, by kClassParts: reports name a class even if its source has
// been divided since.

namespace
{

/// True while the calling thread reports an internal error, so that an error in a handler is not reported by
/// the same handlers again.
thread_local bool tIsReporting = false;

class ReportingScope
{
public:
    ReportingScope() { tIsReporting = true; }
    ~ReportingScope() { tIsReporting = false; }
    ReportingScope( const ReportingScope& ) = delete;
    ReportingScope& operator=( const ReportingScope& ) = delete;
};

XString MakeCrashDump( const XInternalErrorHandlers& inHandlers )
{
    XString dump;
    if ( inHandlers.MakeCrashDump )
        XSwallowErrors( [&] { dump = inHandlers.MakeCrashDump(); } );
    return dump;
}

void AddToEventLog( const XInternalErrorHandlers& inHandlers, const XInternalException& inException )
{
    if ( !inHandlers.AddToEventLog )
        return;
    XString message = inException.GetErrorMessage();
    XString dump;
    inException.GetCrashDump( dump );
    message += "\r\n\r\n";
    message += dump;
    inHandlers.AddToEventLog( message );
}

XInternalException ReportInternalError( const char* inExpression, const char* inFile, int inLine )
{
    const ReportingScope reporting;
    const auto handlers = XInternalErrorHandlers::Get();
    const XInternalException exception( inExpression, inFile, inLine, MakeCrashDump( handlers ) );
    XSwallowErrors( [&] { AddToEventLog( handlers, exception ); } );
    if ( handlers.AddToSessionLog )
        XSwallowErrors( [&] { handlers.AddToSessionLog( exception ); } );
    XException::SetLastError( exception.GetErrorNumber() );
    return exception;
}

std::string_view GetFileStem( std::string_view inPath )
{
    const auto separator = inPath.find_last_of( "/\\" );
    const auto name = separator == std::string_view::npos ? inPath : inPath.substr( separator + 1 );
    return name.substr( 0, name.rfind( '.' ) );
}

struct ClassPart
{
    std::string_view file;
    std::string_view className;
};

/// The files that assert and hold a part of the class, without their extensions.
constexpr ClassPart kClassParts[] = {
    { "XJobQueueWaits", "XJobQueue" },
    { "XMappedFileStorage", "XMappedFileMemoryBlock" },
    { "XMemoryManagerStatus", "XMemoryManager" },
    { "XPivotAccumulators", "XPivotTableAccumulator" },
    { "XPivotComparison", "XPivotColumn" },
    { "XPivotNormalise", "XPivotTable" },
    { "XPivotRowOrder", "XPivotTable" },
    { "XPivotTableNormalise", "XPivotTable" },
    { "XPivotTableRows", "XPivotTable" },
    { "XRPCBridgeOpening", "XRPCBridge" },
    { "XRPCBridgeReconnecting", "XRPCBridge" },
    { "XRPCBridgeServing", "XRPCBridge" },
    { "XRPCCallReceiving", "XRPCBridgeBase" },
    { "XRPCCallSending", "XRPCBridgeBase" },
    { "XStreamBuffer", "XStream" },
    { "XStreamVectors", "XStream" },
    { "XStringNumbers", "XString" },
    { "XStringStreamForm", "XString" },
    { "XStringThreadSafety", "XString" },
    { "XThreadProperties", "XThread" },
};

std::string_view GetClassOf( std::string_view inFileStem )
{
    const auto part = std::ranges::find( kClassParts, inFileStem, &ClassPart::file );
    return part == std::end( kClassParts ) ? inFileStem : part->className;
}

} // namespace

void XThrow( std::uint32_t inErrorNumber )
{
    throw XException( inErrorNumber );
}

void KorvaleInternalError( const char* inExpression, const char* inFile, int inLine )
{
    if ( tIsReporting )
        throw XInternalException( inExpression, inFile, inLine );
    throw ReportInternalError( inExpression, inFile, inLine );
}

void XAssertionFailed( const char* inExpression, const char* inSourceFile, int inLine )
{
    if ( WDebugger::IsPresent() )
        WDebugger::Break();
    const auto file = "..\\X-Platform\\" + std::string( GetClassOf( GetFileStem( inSourceFile ) ) ) + ".cpp";
    KorvaleInternalError( inExpression, file.c_str(), inLine );
}
