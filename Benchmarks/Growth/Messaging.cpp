#include "Growth/Operation.h"

#include "Messaging/XListener.h"
#include "Messaging/XMessage.h"
#include "Messaging/XSpeaker.h"

#include <deque>
#include <iterator>
#include <memory>
#include <thread>

namespace
{

/// Messages of different numbers are kept apart by a queue, whether or not it knows their keys.
class NumberedMessage : public XMessage
{
public:
    explicit NumberedMessage( std::size_t inNumber ) : itsNumber( inNumber ) {}
    NumberedMessage* Clone() const override { return new NumberedMessage( *this ); }
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& ) const override { return kCoalesceNone; }
    std::uint64_t GetCoalesceKey() const noexcept override { return itsNumber; }

private:
    std::size_t itsNumber;
};

class AsynchronousListener : public XListener
{
public:
    AsynchronousListener() : XListener( true ) {}
};

template<class TListener>
std::vector<std::unique_ptr<TListener>> MakeListeners( std::size_t inCount )
{
    std::vector<std::unique_ptr<TListener>> listeners( inCount );
    for ( auto& listener : listeners )
        listener = std::make_unique<TListener>();
    return listeners;
}

Seconds UnsubscribeInOrder( std::size_t inCount )
{
    const XSpeaker speaker;
    const auto listeners = MakeListeners<XListener>( inCount );
    for ( const auto& listener : listeners )
        listener->Subscribe( speaker );
    return Time(
        [&]
        {
            for ( const auto& listener : listeners )
                listener->Unsubscribe( speaker );
        } );
}

Seconds HearManySpeakers( std::size_t inCount )
{
    const std::deque<XSpeaker> speakers( inCount );
    XListener listener;
    return Time(
        [&]
        {
            for ( const XSpeaker& speaker : speakers )
                listener.Subscribe( speaker );
            for ( const XSpeaker& speaker : speakers )
                listener.Unsubscribe( speaker );
        } );
}

Seconds DestroySubscribedListeners( std::size_t inCount )
{
    const XSpeaker speaker;
    auto listeners = MakeListeners<XListener>( inCount );
    for ( const auto& listener : listeners )
        listener->Subscribe( speaker );
    return Time( [&] { listeners.clear(); } );
}

Seconds PostUnlikeMessages( std::size_t inCount )
{
    XListener listener;
    return Time(
        [&]
        {
            for ( std::size_t i = 0; i < inCount; ++i )
                XSpeaker::PostXMessage( NumberedMessage( i ), listener, XSpeaker::kWhenNextEvent );
            XSpeaker::ProcessAllNextEventMessages();
        } );
}

Seconds ExcludeAsynchronousListeners( std::size_t inCount )
{
    XSpeaker speaker;
    auto asynchronous = MakeListeners<AsynchronousListener>( inCount );
    XListener ordinary;
    for ( const auto& listener : asynchronous )
        listener->Subscribe( speaker );
    ordinary.Subscribe( speaker );
    return Time(
        [&]
        {
            for ( std::size_t i = 0; i < 2; ++i )
                std::thread( [&] { speaker.SpeakMessage( NumberedMessage( i ) ); } ).join();
            asynchronous.erase( asynchronous.begin(), asynchronous.begin() + std::ssize( asynchronous ) / 2 );
            XSpeaker::ProcessAllNextEventMessages();
            asynchronous.clear();
        } );
}

} // namespace

void AddMessagingOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "messaging: unsubscribe in order, by listeners", 1000, UnsubscribeInOrder } );
    ioOperations.push_back( { "messaging: one listener, by speakers", 1000, HearManySpeakers } );
    ioOperations.push_back( { "messaging: destroy, by listeners", 1000, DestroySubscribedListeners } );
    ioOperations.push_back( { "messaging: post unlike, by messages", 1000, PostUnlikeMessages } );
    ioOperations.push_back(
        { "messaging: exclusions, by asynchronous listeners", 1000, ExcludeAsynchronousListeners } );
}
