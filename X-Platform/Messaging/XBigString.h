#pragma once

#include "Core/Strings/XString.h"
#include "Messaging/XSpeaker.h"
#include "Threads/XLockable.h"

/// A text that several threads share. Every operation locks the text for itself; XLock holds it for several
/// in a row, keeping all other threads out whatever the mode. Operations follow the rules of XString.
///
/// Every change is announced to listeners with an XBigStringChangedMessage at the main thread's next event,
/// however many changes there were until then.
class KORVALE_API XBigString : public XLockable, public XSpeaker
{
public:
    XBigString() = default;

    /// A copy shares the text's storage until one of the two is changed, and has no listeners.
    XBigString( const XBigString& inOther );

    /// From a text, a number or a character: from whatever an XString can be made of, with the same
    /// arguments.
    template<class... Arguments>
    requires std::constructible_from<XString, Arguments...> &&
        ( sizeof...( Arguments ) > 0 ) explicit( sizeof...( Arguments ) > 1 )
            XBigString( Arguments&&... inArguments )
        : itsText( std::forward<Arguments>( inArguments )... )
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

    /// A snapshot of the text.
    XString GetText() const;
    operator XString() const { return GetText(); }
    explicit operator std::string() const { return GetText(); }

    /// Read the text as a number; 1000 when it is none.
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
    template<class Change>
    XBigString& ChangeText( Change inChange );

    XString itsText; // guarded by GetMutex()
};
