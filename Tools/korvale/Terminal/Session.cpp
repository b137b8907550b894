#include "Terminal/Session.h"

#include "Services/XSessionLogManager.h"
#include "Support/FilePaths.h"

Session::Session( Terminal& ioTerminal )
    : out( ioTerminal.out ), isOutTerminal( ioTerminal.isOutTerminal ),
      progress( ioTerminal.error, ioTerminal.progress ), itsKeepsLog( ioTerminal.keepsLog )
{
}

Session::~Session() = default;

void Session::ChooseLog( const std::string& inFile )
{
    itsLogName = inFile;
    if ( inFile.empty() && itsKeepsLog )
        itsLogName = PathToUTF8( XSessionLogManager::GetDefaultPath() );
}

void Session::StartLog( bool inIsVerbose )
{
    itsIsVerbose = inIsVerbose;
    if ( itsLogName.empty() )
        return;
    XSessionLogManager::XOptions options;
    options.path = PathFromUTF8( itsLogName );
    itsLog = std::make_unique<XSessionLogManager>( options );
}

void Session::EndLog()
{
    constexpr std::uint32_t kPatienceMs = 2000;
    if ( !itsLog )
        return;
    itsLog->Flush( kPatienceMs );
    if ( itsLog->GetLostCount() > 0 )
        Tell( "warning: cannot write the log " + itsLogName );
    itsLog.reset();
}

void Session::Note( const std::string& inText )
{
    Log( kLogInformation, inText );
    if ( itsIsVerbose )
        Tell( inText );
}

void Session::ReportFact( const std::string& inText )
{
    Log( kLogInformation, inText );
    Tell( inText );
}

void Session::ReportFailure( const std::string& inSubject, const Failure& inFailure )
{
    Log( kLogError, inSubject + ": " + inFailure.text, inFailure.number );
    Tell( inSubject + ": " + inFailure.text );
}

void Session::ReportInterrupt()
{
    Log( kLogWarning, "interrupted" );
    Tell( "interrupted" );
}

void Session::Tell( const std::string& inText )
{
    progress.WriteLine( "korvale: " + inText );
}

void Session::Log( XSessionLogLevel inLevel, const std::string& inText, std::uint32_t inNumber )
{
    if ( itsLog )
        itsLog->AddEntry( XSessionLogEntry( inLevel, XString::FromUTF8( inText ), inNumber ) );
}
