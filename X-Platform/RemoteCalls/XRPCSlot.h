#pragma once

#include "Ground/XFail.h"
#include "RemoteCalls/XRPCTypes.h"

#include <tuple>

/// Runs the calls with one code on the receiving side. A bridge owns its slots and uses each for one call at
/// a time, in the order of the operations below.
/// Threads: the receiving thread of the bridge only.
class KORVALE_API XRPCSlotBase
{
public:
    XRPCSlotBase( const XRPCSlotBase& ) = delete;
    XRPCSlotBase& operator=( const XRPCSlotBase& ) = delete;
    virtual ~XRPCSlotBase();

    std::uint32_t GetCallCode() const { return itsCallCode; }

    /// Reads all arguments and keeps them for the call. False if an object among them is of another class;
    /// all arguments have been read then too. Throws stream errors.
    virtual bool ReadArguments( XStream& ioStream ) = 0;

    /// Runs the method and keeps its result; rethrows its exceptions.
    virtual void RunCall() = 0;

    virtual void WriteResult( XStream& ioStream ) = 0;

    /// Releases arguments and result.
    virtual void CleanUp() = 0;

    /// Whether the other slot runs the same method of the same object.
    virtual bool RunsSameMethod( const XRPCSlotBase& inOther ) const = 0;

protected:
    explicit XRPCSlotBase( std::uint32_t inCallCode ) : itsCallCode( inCallCode ) {}

private:
    const std::uint32_t itsCallCode;
};

/// The slot of a method of `TBridge` with a result, or void, and up to six arguments.
template<class TBridge, class TResult, class... TArguments>
class XRPCSlot : public XRPCSlotBase
{
public:
    using XFunction = TResult ( TBridge::* )( TArguments... );

    /// Neither pointer may be null.
    XRPCSlot( std::uint32_t inCallCode, TBridge* rpcReceiver, XFunction rpcFuncPtr )
        : XRPCSlotBase( inCallCode ), itsReceiver( rpcReceiver ), itsFunction( rpcFuncPtr )
    {
        XAssert( rpcFuncPtr );
        XAssert( rpcReceiver );
    }

    bool ReadArguments( XStream& ioStream ) override
    {
        return std::apply(
            [&]( TArguments&... outValues )
            {
                bool areAllOfTheirClass = true;
                ( ( areAllOfTheirClass &= XRPCDetail::Read( ioStream, outValues ) ), ... );
                return areAllOfTheirClass;
            },
            itsArguments );
    }

    void RunCall() override
    {
        std::apply(
            [this]( TArguments&... ioValues )
            {
                if constexpr ( kHasResult )
                    itsResult.emplace( ( itsReceiver->*itsFunction )( std::move( ioValues )... ) );
                else
                    ( itsReceiver->*itsFunction )( std::move( ioValues )... );
            },
            itsArguments );
    }

    void WriteResult( [[maybe_unused]] XStream& ioStream ) override
    {
        if constexpr ( kHasResult )
            XRPCDetail::Write( ioStream, *itsResult );
    }

    void CleanUp() override
    {
        itsArguments = std::tuple<TArguments...>();
        itsResult.reset();
    }

    bool RunsSameMethod( const XRPCSlotBase& inOther ) const override
    {
        const auto* const other = dynamic_cast<const XRPCSlot*>( &inOther );
        return other && other->itsReceiver == itsReceiver && other->itsFunction == itsFunction;
    }

private:
    static constexpr bool kHasResult = !std::is_void_v<TResult>;
    static_assert( sizeof...( TArguments ) <= 6, "A remote method has at most six arguments." );
    static_assert(
        !kHasResult || XRPCDetail::CheckCanTravel<std::conditional_t<kHasResult, TResult, int>>() );
    static_assert( ( XRPCDetail::CheckCanTravel<TArguments>() && ... ) );

    TBridge* const itsReceiver;
    const XFunction itsFunction;
    std::tuple<TArguments...> itsArguments{};
    std::optional<std::conditional_t<kHasResult, TResult, bool>> itsResult;
};

template<class TBridge, class TResult>
using XRPCSlot0 = XRPCSlot<TBridge, TResult>;
template<class TBridge, class TResult, class T1>
using XRPCSlot1 = XRPCSlot<TBridge, TResult, T1>;
template<class TBridge, class TResult, class T1, class T2>
using XRPCSlot2 = XRPCSlot<TBridge, TResult, T1, T2>;
template<class TBridge, class TResult, class T1, class T2, class T3>
using XRPCSlot3 = XRPCSlot<TBridge, TResult, T1, T2, T3>;
template<class TBridge, class TResult, class T1, class T2, class T3, class T4>
using XRPCSlot4 = XRPCSlot<TBridge, TResult, T1, T2, T3, T4>;
template<class TBridge, class TResult, class T1, class T2, class T3, class T4, class T5>
using XRPCSlot5 = XRPCSlot<TBridge, TResult, T1, T2, T3, T4, T5>;
template<class TBridge, class TResult, class T1, class T2, class T3, class T4, class T5, class T6>
using XRPCSlot6 = XRPCSlot<TBridge, TResult, T1, T2, T3, T4, T5, T6>;
