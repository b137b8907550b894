#include "Messaging/XBigString.h"

#include "Messaging/XBigStringChangedMessage.h"
#include "Threads/XThreadLock.h"

XBigString::XBigString( const XBigString& inOther )
    : XLockable( inOther ), XSpeaker( inOther ), itsText( inOther.GetText() )
{
}

XBigString::~XBigString()
{
    StopSpeaking();
}

template<class TChange>
XBigString& XBigString::ChangeText( TChange inChange )
{
    const XThreadLock lock( GetMutex() );
    inChange( itsText );
    SetDirtyFlag( true );
    // Queued, never spoken at once: the lock may be held for longer, and handlers would run under it.
    if ( HasListeners() )
        SpeakMessage( XBigStringChangedMessage( this ), kWhenNextEvent );
    return *this;
}

XBigString& XBigString::operator=( const XString& inText )
{
    return ChangeText( [&]( XString& ioText ) { ioText = inText; } );
}

void XBigString::CopyFromPtr( const char* ptr, USize64 inCount )
{
    ChangeText( [&]( XString& ioText ) { ioText.CopyFromPtr( ptr, inCount ); } );
}

void XBigString::CopyFromPtr( const wchar_t* ptr, USize64 inCount )
{
    ChangeText( [&]( XString& ioText ) { ioText.CopyFromPtr( ptr, inCount ); } );
}

XBigString& XBigString::operator+=( const XString& inText )
{
    return ChangeText( [&]( XString& ioText ) { ioText += inText; } );
}

XString XBigString::GetText() const
{
    const XThreadLock lock( GetMutex() );
    return itsText;
}

USize64 XBigString::Replace( const XString& inFrom, const XString& inTo )
{
    USize64 count = 0;
    ChangeText( [&]( XString& ioText ) { count = ioText.Replace( inFrom, inTo ); } );
    return count;
}

XBigString& XBigString::Strip( XString::XStringStripOptions inOptions, char whichChar )
{
    return ChangeText( [&]( XString& ioText ) { ioText.Strip( inOptions, whichChar ); } );
}

XBigString& XBigString::StripFirst( USize64 inCount )
{
    return ChangeText( [&]( XString& ioText ) { ioText.StripFirst( inCount ); } );
}

XBigString& XBigString::StripLast( USize64 inCount )
{
    return ChangeText( [&]( XString& ioText ) { ioText.StripLast( inCount ); } );
}

XBigString& XBigString::Truncate( USize64 inCount, USize64 inStart )
{
    return ChangeText( [&]( XString& ioText ) { ioText.Truncate( inCount, inStart ); } );
}

XBigString& XBigString::Lower()
{
    return ChangeText( []( XString& ioText ) { ioText.Lower(); } );
}

/// The base locks its mutex around these calls: one lock more stays until the matching unlock.
void XBigString::LockSelf( XLockMode )
{
    GetMutex().Lock();
}

void XBigString::UnlockSelf( XLockMode )
{
    GetMutex().Unlock();
}
