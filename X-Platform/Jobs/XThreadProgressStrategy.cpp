#include "Jobs/XThreadProgressStrategy.h"

#include "Jobs/XProgress.h"
#include "Jobs/XProgressChangedMessage.h"

// Turns the changes of progresses into XProgressChangedMessage. Level n is the n-th bar from the outside,
// counted from 1; kBarDestroyed carries the number of bars that are left. A progress without a bar of its own
// changes the bar of the nearest one around it (FindInfo), so its XProgressInfo exists only together with a
// bar.

/// The data of a progress that has a bar.
struct XThreadProgressStrategy::XProgressInfo
{
    std::uint32_t level;
    XString message;
};

XThreadProgressStrategy::XThreadProgressStrategy( XSpeaker* inSpeaker, XSpeaker::XWhen inWhen )
    : itsSpeaker( inSpeaker ), itsWhen( inWhen )
{
}

XThreadProgressStrategy::XThreadProgressStrategy( const XThreadProgressStrategy& inOther )
    : XProgressStrategy( inOther ), XSpeaker( inOther ), itsSpeaker( inOther.itsSpeaker ),
      itsWhen( inOther.itsWhen ), itsJobID( inOther.itsJobID )
{
}

XThreadProgressStrategy::~XThreadProgressStrategy()
{
    StopSpeaking();
}

XThreadProgressStrategy* XThreadProgressStrategy::Clone() const
{
    return new XThreadProgressStrategy( *this );
}

void XThreadProgressStrategy::ProgressCreated( XProgress& inProgress, bool inForceBar, std::uint32_t )
{
    if ( inProgress.GetProgressType() == XProgress::kProgressWait || ( itsBarCount != 0 && !inForceBar ) )
        return;
    SetProgressPtr( inProgress, new XProgressInfo{ ++itsBarCount, {} } );
    try
    {
        Speak( XProgressChangedMessage::kBarCreated, itsBarCount, 0, {} );
        Speak( XProgressChangedMessage::kProgressChanged, itsBarCount, 0, {} );
    }
    catch ( ... ) // a listener's; this progress will not live
    {
        delete GetInfo( inProgress );
        SetProgressPtr( inProgress, nullptr );
        --itsBarCount;
        throw;
    }
}

void XThreadProgressStrategy::ProgressDestroyed( XProgress& inProgress )
{
    const XProgressInfo* info = GetInfo( inProgress );
    if ( !info )
        return;
    SetProgressPtr( inProgress, nullptr );
    delete info;
    --itsBarCount;
    Speak( XProgressChangedMessage::kBarDestroyed, itsBarCount, 0, {} );
}

void XThreadProgressStrategy::SetTitle( const XString& inTitle )
{
    if ( itsBarCount == 0 )
        return;
    itsTitle = inTitle;
    Speak( XProgressChangedMessage::kTitleChanged, 0, 0, inTitle );
}

XString XThreadProgressStrategy::GetMessage( const XProgress& inProgress ) const
{
    const XProgressInfo* info = FindInfo( inProgress );
    return info ? info->message : XString();
}

void XThreadProgressStrategy::SetMessage( XProgress& inProgress, const XString& inMessage )
{
    XProgressInfo* info = FindInfo( inProgress );
    if ( !info )
        return;
    info->message = inMessage;
    Speak( XProgressChangedMessage::kMessageChanged, info->level, 0, inMessage );
}

void XThreadProgressStrategy::SetProgress( XProgress& inProgress, std::uint32_t inPerMille )
{
    if ( const XProgressInfo* info = FindInfo( inProgress ) )
        Speak( XProgressChangedMessage::kProgressChanged, info->level, inPerMille, {} );
}

void XThreadProgressStrategy::SetProgressIndeterminate( XProgress& inProgress )
{
    if ( const XProgressInfo* info = FindInfo( inProgress ) )
        Speak( XProgressChangedMessage::kProgressIndeterminate, info->level, 0, {} );
}

bool XThreadProgressStrategy::HasProgressBar( const XProgress& inProgress ) const
{
    return GetInfo( inProgress ) != nullptr;
}

XThreadProgressStrategy::XProgressInfo* XThreadProgressStrategy::GetInfo( const XProgress& inProgress )
{
    return static_cast<XProgressInfo*>( GetProgressPtr( inProgress ) );
}

/// The bar that shows a progress: its own, or that of the nearest enclosing progress with a bar.
XThreadProgressStrategy::XProgressInfo* XThreadProgressStrategy::FindInfo( const XProgress& inProgress )
{
    for ( const XProgress* progress = &inProgress; progress; progress = progress->GetSuperProgress() )
    {
        if ( XProgressInfo* info = GetInfo( *progress ) )
            return info;
    }
    return nullptr;
}

void XThreadProgressStrategy::Speak(
    std::uint32_t inChange, std::uint32_t inLevel, std::uint32_t inValue, const XString& inText )
{
    const auto type = static_cast<XProgressChangedMessage::XChangeType>( inChange );
    XSpeaker& speaker = GetSpeaker();
    speaker.SpeakMessage(
        XProgressChangedMessage( &speaker, itsJobID, { type, inValue, inLevel, inText } ), itsWhen );
}
