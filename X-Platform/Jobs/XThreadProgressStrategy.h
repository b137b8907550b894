#pragma once

#include "Jobs/XProgressStrategy.h"
#include "Messaging/XSpeaker.h"
#include "WNoSystemMacros.h"

/// Sends the progress of its thread to listeners, on another thread or another machine: every change is
/// spoken as an XProgressChangedMessage. The outermost progress and those that request it have bars, numbered
/// from 1; any other nested progress moves the bar of the enclosing one.
///
/// Ownership: the given speaker is not owned and must outlive the strategy.
/// Threads: reports on the thread on which it is installed; messages are delivered by the rules of speakers.
class KORVALE_API XThreadProgressStrategy : public XProgressStrategy, public XSpeaker
{
public:
    class XProgressChangedMessage;

    /// Speaks through `inSpeaker`, or through itself if that is null; every message uses `inWhen`.
    explicit XThreadProgressStrategy(
        XSpeaker* inSpeaker = nullptr, XSpeaker::XWhen inWhen = XSpeaker::kWhenDefault );
    ~XThreadProgressStrategy() override;

    /// The clone has the same speaker (or itself, if this strategy is its own speaker), delivery and job ID.
    XThreadProgressStrategy* Clone() const override;

    XSpeaker& GetSpeaker() { return itsSpeaker ? *itsSpeaker : *this; }

    /// Included in every message; initially 0.
    std::uint32_t GetJobID() const { return itsJobID; }
    void SetJobID( std::uint32_t inJobID ) { itsJobID = inJobID; }

    /// The last title set while a bar was shown.
    const XString& GetTitle() const { return itsTitle; }

    void ProgressCreated( XProgress& inProgress, bool inForceBar, std::uint32_t inDelayMS ) override;
    void ProgressDestroyed( XProgress& inProgress ) override;
    void SetTitle( const XString& inTitle ) override;
    XString GetMessage( const XProgress& inProgress ) const override;
    void SetMessage( XProgress& inProgress, const XString& inMessage ) override;
    void SetProgress( XProgress& inProgress, std::uint32_t inPerMille ) override;
    void SetProgressIndeterminate( XProgress& inProgress ) override;
    bool HasProgressBar( const XProgress& inProgress ) const override;
    void Yield() override {}

private:
    struct XProgressInfo;

    XThreadProgressStrategy( const XThreadProgressStrategy& inOther );

    static XProgressInfo* GetInfo( const XProgress& inProgress );
    static XProgressInfo* FindInfo( const XProgress& inProgress );
    void Speak( std::uint32_t inChange, std::uint32_t inLevel, std::uint32_t inValue, const XString& inText );

    XSpeaker* const itsSpeaker; // null: this object
    const XSpeaker::XWhen itsWhen;
    std::uint32_t itsJobID = 0;
    XString itsTitle;
    std::uint32_t itsBarCount = 0;
};
