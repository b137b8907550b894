#pragma once

#include "Core/Strings/XString.h"
#include "Messaging/XSpeaker.h"
#include "Threads/XLockable.h"

/// A text shared by several threads. Every operation locks the text itself; XLock locks it for several
/// operations and excludes all other threads in every mode. The operations behave like those of XString.
///
/// Changes are announced to listeners with an XBigStringChangedMessage at the main thread's next event;
/// several changes result in one message.
class KORVALE_API XBigString : public XLockable, public XSpeaker
{
public:
    XBigString() = default;

    /// A copy shares the text's storage until one of them is changed, and has no listeners.
    XBigString( const XBigString& inOther );

    /// Constructs the text from any arguments that XString accepts, such as a text, a number or a character.
    template<class... TArguments>
    requires std::constructible_from<XString, TArguments...> &&
        ( sizeof...( TArguments ) > 0 ) explicit( sizeof...( TArguments ) > 1 )
            XBigString( TArguments&&... inArguments )
        : itsText( std::forward<TArguments>( inArguments )... )
    {
    }
    ~XBigString() override;

    XBigString& operator=( const XBigString& inOther ) { return operator=( inOther.GetText() ); }
    XBigString& operator=( const XString& inText );
    XBigString& operator=( const char* inText ) { return operator=( XString( inText ) ); }
    XBigString& operator=( char inCharacter ) { return operator=( XString( inCharacter ) ); }
    XBigString& operator=( std::int32_t inValue ) { return operator=( XString( inValue ) ); }
    XBigString& operator=( double inValue ) { return operator=( XString( inValue ) ); }
    void CopyFromPtr( const char* ptr, USize64 inCount );
    void CopyFromPtr( const wchar_t* ptr, USize64 inCount );

    XBigString& operator+=( const XString& inText );

    /// A copy of the current text.
    XString GetText() const;
    operator XString() const { return GetText(); }
    explicit operator std::string() const { return GetText(); }

    /// Read the text as a number; throw 1000 if it is not one.
    explicit operator std::int32_t() const { return GetText().GetSInt32(); }
    explicit operator double() const { return GetText().GetSFloat64(); }

    USize64 GetLength() const { return GetText().GetLength(); }
    SSize64 Find( const XString& inNeedle, bool inCaseSensitive = true, USize64 inStart = 0 ) const
    {
        return GetText().Find( inNeedle, inCaseSensitive, inStart );
    }
    XString SubWord( USize64 inIndex, USize64 inCount = 1, const XString& inSeparators = " " ) const
    {
        return GetText().SubWord( inIndex, inCount, inSeparators );
    }
    void GetStr255( unsigned char* outBuffer ) const { GetText().GetStr255( outBuffer ); }

    USize64 Replace( const XString& inFrom, const XString& inTo );
    XBigString& Strip( XString::XStringStripOptions inOptions = XString::kStripBoth, char whichChar = ' ' );
    XBigString& StripFirst( USize64 inCount );
    XBigString& StripLast( USize64 inCount );
    XBigString& Truncate( USize64 inCount, USize64 inStart = 0 );
    XBigString& Lower();

protected:
    void LockSelf( XLockMode inMode ) override;
    void UnlockSelf( XLockMode inMode ) override;

private:
    /// Applies a change under the lock and announces it.
    template<class TChange>
    XBigString& ChangeText( TChange inChange );

    XString itsText; // guarded by GetMutex()
};
