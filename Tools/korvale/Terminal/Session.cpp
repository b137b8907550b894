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
    constexpr std::uint32_t kPatienceMS = 2000;
    if ( !itsLog )
        return;
    itsLog->Flush( kPatienceMS );
    if ( itsLog->GetLostCount() > 0 )
        Print( "warning: cannot write the log " + itsLogName );
    itsLog.reset();
}

void Session::LogInfo( const std::string& inText )
{
    Log( kLogInformation, inText );
    if ( itsIsVerbose )
        Print( inText );
}

void Session::ReportInfo( const std::string& inText )
{
    Log( kLogInformation, inText );
    Print( inText );
}

void Session::ReportWarning( const std::string& inText )
{
    Log( kLogWarning, inText );
    Print( "warning: " + inText );
}

void Session::ReportFailure( const std::string& inSubject, const Failure& inFailure )
{
    Log( kLogError, inSubject + ": " + inFailure.text, inFailure.number );
    Print( inSubject + ": " + inFailure.text );
}

void Session::ReportInterrupt()
{
    Log( kLogWarning, "interrupted" );
    Print( "interrupted" );
}

void Session::Print( const std::string& inText )
{
    progress.WriteLine( "korvale: " + inText );
}

void Session::Log( XSessionLogLevel inLevel, const std::string& inText, std::uint32_t inNumber )
{
    if ( itsLog )
        itsLog->AddEntry( XSessionLogEntry( inLevel, XString::FromUTF8( inText ), inNumber ) );
}
