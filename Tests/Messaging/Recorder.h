#pragma once

#include "Messaging/XListener.h"
#include "Messaging/XMessage.h"
#include "Messaging/XSpeaker.h"
#include "Testing.h"
#include "Threads/TestThread.h"

/// Equal when the numbers are.
struct NumberMessage : XMessage
{
    explicit NumberMessage( int inNumber, XSpeaker* inSpeaker = nullptr )
        : XMessage( inSpeaker ), number( inNumber )
    {
    }
    NumberMessage* Clone() const override { return new NumberMessage( *this ); }
    bool operator==( const XMessage& inOther ) const override
    {
        return XMessage::operator==( inOther ) &&
            dynamic_cast<const NumberMessage&>( inOther ).number == number;
    }
    std::uint64_t GetCoalesceKey() const noexcept override { return static_cast<std::uint64_t>( number ); }

    int number;
};

/// Another class; never coalesces.
struct OtherMessage : XMessage
{
    using XMessage::XMessage;
    OtherMessage* Clone() const override { return new OtherMessage( *this ); }
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& ) const override { return kCoalesceNone; }
};

/// Remembers the numbers it has heard, 0 for messages without one, and does what the test wants.
struct Recorder : XListener
{
    using Action = std::function<void( const XMessage& )>;

    explicit Recorder( Action inAction = nullptr, bool inIsAsynchronous = false )
        : XListener( inIsAsynchronous ), action( std::move( inAction ) )
    {
    }
    Recorder( const XSpeaker& inSpeaker, Action inAction = nullptr, bool inIsAsynchronous = false )
        : Recorder( std::move( inAction ), inIsAsynchronous )
    {
        Subscribe( inSpeaker );
    }
    ~Recorder() override { StopListening(); }

    void HandleMessage( const XMessage& inMessage ) override
    {
        const auto* const message = dynamic_cast<const NumberMessage*>( &inMessage );
        heard.push_back( message ? message->number : 0 );
        wasOnMainThread = XThread::IsMainThread();
        if ( const Action doIt = action ) // the recorder may not survive it
            doIt( inMessage );
    }

    Action action;
    std::vector<int> heard;
    bool wasOnMainThread = false;
};

using Numbers = std::vector<int>;

template<class Action>
void OnWorker( Action inAction )
{
    std::thread( inAction ).join();
}
