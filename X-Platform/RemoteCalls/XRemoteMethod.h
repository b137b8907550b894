#pragma once

#include "RemoteCalls/XRPCTypes.h"

/// XREMOTE_METHOD( CODE, RESULT, NAME, TYPES... ) declares a remote method, with up to six arguments, in a
/// class derived from XRPCBridgeBase:
///
///     XREMOTE_METHOD( 2000, double, Divide, double, double )
///
/// | Form | |
/// | --- | --- |
/// | `double Divide( double, double )` | calls the peer and waits for the result |
/// | `void Divide_NoWaitForReturn( double, double )` | calls the peer without a return |
/// | `std::optional<double> Divide_NoThrow( double, double )` | like the first; empty after a failure. For a void method `bool`: whether it succeeded |
/// | `virtual double DivideSelf( double, double )` | runs on the peer. Takes its arguments by value. Overridden where the method is implemented; throws 3091 otherwise |
/// | `void RegisterDivide()` | adds the slot for the code to the table. The declaration calls it for each object |
///
/// Code: unique in the class, 1 to 999 or 2000 to 2^31 - 1; those from 1000 to 1999 are the library's. Types:
/// those of XRPCTypes.h; the compiler rejects others. A type that contains a comma needs an alias.
///
/// A call may run twice if a client reconnects (XRPCBridgeBase). XREMOTE_METHOD_ONCE declares a method that
/// never does: it fails with 3100 if the connection is lost before its return has arrived.
#define XREMOTE_METHOD( inCode, inResult, inName, ... )                                                      \
    XREMOTE_METHOD_WITH_SELF( inCode, XRPCRepeat::kMayRepeat, inResult, inName __VA_OPT__(, ) __VA_ARGS__ )

#define XREMOTE_METHOD_ONCE( inCode, inResult, inName, ... )                                                 \
    XREMOTE_METHOD_WITH_SELF( inCode, XRPCRepeat::kOnce, inResult, inName __VA_OPT__(, ) __VA_ARGS__ )

/// For a class that implements the method itself: declares the forms without `DivideSelf`, which the class
/// declares with the same types and defines. It need not be virtual.
///
///     XREMOTE_METHOD_HERE( 2000, double, Divide, double, double )
///     double DivideSelf( double inLeft, double inRight ) { return inLeft / inRight; }
#define XREMOTE_METHOD_HERE( inCode, inResult, inName, ... )                                                 \
    XREMOTE_METHOD_REGISTERED( inCode, XRPCRepeat::kMayRepeat, inResult, inName __VA_OPT__(, ) __VA_ARGS__ )

#define XREMOTE_METHOD_ONCE_HERE( inCode, inResult, inName, ... )                                            \
    XREMOTE_METHOD_REGISTERED( inCode, XRPCRepeat::kOnce, inResult, inName __VA_OPT__(, ) __VA_ARGS__ )

// ---- Implementation of the macros above

#define XREMOTE_METHOD_WITH_SELF( inCode, inRepeat, inResult, inName, ... )                                  \
    XREMOTE_METHOD_REGISTERED( inCode, inRepeat, inResult, inName __VA_OPT__(, ) __VA_ARGS__ )               \
    virtual inResult inName##Self( __VA_ARGS__ )                                                             \
    {                                                                                                        \
        XThrow( kErrorCallNotSupported );                                                                    \
    }

#define XREMOTE_METHOD_REGISTERED( inCode, inRepeat, inResult, inName, ... )                                 \
    XREMOTE_METHOD_FORMS( inCode, inRepeat, inResult, inName __VA_OPT__(, ) __VA_ARGS__ )                    \
    static_assert(                                                                                           \
        ( inCode ) > 0 && ( inCode ) < 0x80000000u && ( ( inCode ) < 1000 || ( inCode ) >= 2000 ),           \
        "The code of a remote method is 1 to 999 or 2000 to 2147483647." );                                  \
    const bool its##inName##IsRegistered = ( Register##inName(), true );

/// The calling forms and the registration. The class declares the form `Self` and registers the slot.
#define XREMOTE_METHOD_FORMS( inCode, inRepeat, inResult, inName, ... )                                      \
    inResult inName( XREMOTE_PARAMETERS( __VA_ARGS__ ) )                                                     \
    {                                                                                                        \
        return this->template CallRemotely<inResult __VA_OPT__(, ) __VA_ARGS__>(                             \
            inCode, inRepeat XREMOTE_NAMES( __VA_ARGS__ ) );                                                 \
    }                                                                                                        \
    void inName##_NoWaitForReturn( XREMOTE_PARAMETERS( __VA_ARGS__ ) )                                       \
    {                                                                                                        \
        this->template CallWithoutReturn<inResult __VA_OPT__(, ) __VA_ARGS__>(                               \
            inCode, inRepeat XREMOTE_NAMES( __VA_ARGS__ ) );                                                 \
    }                                                                                                        \
    XRPCOutcome<inResult> inName##_NoThrow( XREMOTE_PARAMETERS( __VA_ARGS__ ) ) noexcept                     \
    {                                                                                                        \
        return this->template CallQuietly<inResult __VA_OPT__(, ) __VA_ARGS__>(                              \
            inCode, inRepeat XREMOTE_NAMES( __VA_ARGS__ ) );                                                 \
    }                                                                                                        \
    void Register##inName()                                                                                  \
    {                                                                                                        \
        using XThisBridge = std::remove_reference_t<decltype( *this )>;                                      \
        inResult ( XThisBridge::*const self )( __VA_ARGS__ ) = &XThisBridge::inName##Self;                   \
        this->RegisterSlot( inCode, this, self );                                                            \
    }

#define XREMOTE_PARAMETERS( ... ) XREMOTE_CALL_BY_COUNT( XREMOTE_PARAMETERS_, __VA_ARGS__ )
#define XREMOTE_NAMES( ... ) XREMOTE_CALL_BY_COUNT( XREMOTE_NAMES_, __VA_ARGS__ )

#define XREMOTE_CALL_BY_COUNT( inMacro, ... )                                                                \
    XREMOTE_JOIN( inMacro, XREMOTE_COUNT( __VA_ARGS__ ) )( __VA_ARGS__ )
#define XREMOTE_JOIN( inLeft, inRight ) XREMOTE_JOIN_NOW( inLeft, inRight )
#define XREMOTE_JOIN_NOW( inLeft, inRight ) inLeft##inRight
#define XREMOTE_COUNT( ... ) XREMOTE_EIGHTH( __VA_ARGS__ __VA_OPT__(, ) TooMany, 6, 5, 4, 3, 2, 1, 0, unused )
#define XREMOTE_EIGHTH( a1, a2, a3, a4, a5, a6, a7, a8, ... ) a8

#define XREMOTE_PARAMETER( inType, inName ) XRPCDetail::XArgument<inType> inName
#define XREMOTE_PARAMETERS_TooMany( ... ) a_remote_method_has_at_most_six_arguments
#define XREMOTE_PARAMETERS_0()
#define XREMOTE_PARAMETERS_1( t1 ) XREMOTE_PARAMETER( t1, in1 )
#define XREMOTE_PARAMETERS_2( t1, t2 ) XREMOTE_PARAMETERS_1( t1 ), XREMOTE_PARAMETER( t2, in2 )
#define XREMOTE_PARAMETERS_3( t1, t2, t3 ) XREMOTE_PARAMETERS_2( t1, t2 ), XREMOTE_PARAMETER( t3, in3 )
#define XREMOTE_PARAMETERS_4( t1, t2, t3, t4 )                                                               \
    XREMOTE_PARAMETERS_3( t1, t2, t3 ), XREMOTE_PARAMETER( t4, in4 )
#define XREMOTE_PARAMETERS_5( t1, t2, t3, t4, t5 )                                                           \
    XREMOTE_PARAMETERS_4( t1, t2, t3, t4 ), XREMOTE_PARAMETER( t5, in5 )
#define XREMOTE_PARAMETERS_6( t1, t2, t3, t4, t5, t6 )                                                       \
    XREMOTE_PARAMETERS_5( t1, t2, t3, t4, t5 ), XREMOTE_PARAMETER( t6, in6 )

#define XREMOTE_NAMES_TooMany( ... )
#define XREMOTE_NAMES_0()
#define XREMOTE_NAMES_1( ... ) , in1
#define XREMOTE_NAMES_2( ... ) , in1, in2
#define XREMOTE_NAMES_3( ... ) , in1, in2, in3
#define XREMOTE_NAMES_4( ... ) , in1, in2, in3, in4
#define XREMOTE_NAMES_5( ... ) , in1, in2, in3, in4, in5
#define XREMOTE_NAMES_6( ... ) , in1, in2, in3, in4, in5, in6
