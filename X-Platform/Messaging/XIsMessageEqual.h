#pragma once

#include "Messaging/XMessage.h"

/// Selects messages equal to a given one, which must outlive the predicate.
class XIsMessageEqual
{
public:
    explicit XIsMessageEqual( const XMessage& inMessage ) : itsMessage( inMessage ) {}

    bool operator()( const XMessage& inMessage ) const { return itsMessage == inMessage; }
    bool operator()( const XMessage* inMessage ) const { return inMessage && itsMessage == *inMessage; }

private:
    const XMessage& itsMessage;
};
