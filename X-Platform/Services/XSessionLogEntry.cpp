#include "Services/XSessionLogEntry.h"

#include "Threads/XThread.h"

namespace
{

const char* GetLevelName( XSessionLogLevel inLevel )
{
    switch ( inLevel )
    {
    case kLogInformation:
        return "information";
    case kLogWarning:
        return "warning";
    default:
        return "error";
    }
}

} // namespace

XSessionLogEntry::XSessionLogEntry(
    XSessionLogLevel inLevel, const XString& inText, std::uint32_t inErrorNumber )
    : time( XTime::Now() ), level( inLevel ), threadID( XThread::GetCurrentThreadID() ),
      errorNumber( inErrorNumber ), text( inText )
{
}

XString XSessionLogEntry::GetLine() const
{
    XString indented( text );
    indented.ConvertNewlines( "\n\t" );
    XString line = time.GetAbsoluteTimeString();
    line += '\t';
    line += GetLevelName( level );
    line += '\t';
    line += threadID;
    line += '\t';
    line += errorNumber == 0 ? XString( "-" ) : XString( errorNumber );
    line += '\t';
    line += indented;
    line += '\n';
    return line;
}
