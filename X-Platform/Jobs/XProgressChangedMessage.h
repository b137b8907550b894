#pragma once

#include "Core/Strings/XString.h"
#include "Jobs/XThreadProgressStrategy.h"
#include "Messaging/XNetJobMessage.h"

/// A change in the progress of one thread. Storable, so it can be sent to other machines.
class KORVALE_API XThreadProgressStrategy::XProgressChangedMessage : public XNetJobMessage
{
public:
    enum XChangeType : std::uint32_t
    {
        kProgressChanged = 0,       ///< the value of a bar, per mille
        kProgressIndeterminate = 1, ///< a bar no longer shows a value
        kMessageChanged = 2,        ///< the text is the message of a bar
        kTitleChanged = 3,          ///< the text is the title; level 0
        kBarCreated = 4,
        kBarDestroyed = 5 ///< the level is the number of bars left
    };

    /// The kind of change, the bar and the new value.
    struct XChange
    {
        XChangeType type = kProgressChanged;
        std::uint32_t value = 0; ///< 0 to 1000 for `kProgressChanged`, else 0
        std::uint32_t level = 0; ///< the bar, from 1
        XString text;
    };

    explicit XProgressChangedMessage( XSpeaker* inSpeaker = nullptr );
    XProgressChangedMessage( XSpeaker* inSpeaker, std::uint32_t inJobID, const XChange& inChange );

    XProgressChangedMessage* Clone() const override { return new XProgressChangedMessage( *this ); }

    /// Of two queued values of the same bar only the newer is kept; other changes are not coalesced.
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const override;
    bool operator==( const XMessage& inOther ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    /// The ID of the reporting thread.
    std::uint32_t GetThreadID() const { return itsThreadID; }
    XChangeType GetChangeType() const { return itsChange.type; }
    std::uint32_t GetValue() const { return itsChange.value; }
    std::uint32_t GetLevel() const { return itsChange.level; }
    const XString& GetText() const { return itsChange.text; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override { return GetClassVersion(); }
    USize64 GetStreamUsage() const override;

    /// Throws 1005 for a change type above 5 and for a value above 1000.
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;
    bool IsSameBar( const XProgressChangedMessage& inOther ) const;

    std::uint32_t itsThreadID;
    XChange itsChange;
};
