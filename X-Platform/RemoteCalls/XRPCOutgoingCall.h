#pragma once

#include "RemoteCalls/XRPCTypes.h"

#include <tuple>

/// The arguments and the result of a call being sent. The arguments are written again when a call is repeated
/// after a reconnection.
class XRPCOutgoingCallBase
{
public:
    virtual void WriteArguments( XStream& ioStream ) const = 0;
    /// False if the result is an object of another class.
    virtual bool ReadResult( XStream& ioStream ) = 0;

protected:
    ~XRPCOutgoingCallBase() = default;
};

/// Refers to its arguments, which must outlive it.
template<class TResult, class... TArguments>
class XRPCOutgoingCall final : public XRPCOutgoingCallBase
{
public:
    explicit XRPCOutgoingCall( const TArguments&... inArguments ) : itsArguments( inArguments... ) {}

    void WriteArguments( [[maybe_unused]] XStream& ioStream ) const override
    {
        std::apply(
            [&]( const TArguments&... inValues ) { ( XRPCDetail::Write( ioStream, inValues ), ... ); },
            itsArguments );
    }

    bool ReadResult( [[maybe_unused]] XStream& ioStream ) override
    {
        if constexpr ( kHasResult )
            return XRPCDetail::Read( ioStream, itsResult );
        else
            return true;
    }

    TResult TakeResult()
    {
        if constexpr ( kHasResult )
            return std::move( itsResult );
    }

private:
    static constexpr bool kHasResult = !std::is_void_v<TResult>;

    const std::tuple<const TArguments&...> itsArguments;
    std::conditional_t<kHasResult, TResult, bool> itsResult{};
};
