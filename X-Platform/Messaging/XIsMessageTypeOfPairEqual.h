#pragma once

#include "Messaging/XIsMessageTypeEqual.h"

/// Selects pairs, such as the elements of a map, whose second member is a message of exactly one class, a
/// pointer to such a message or the name of the class.
class XIsMessageTypeOfPairEqual
{
public:
    explicit XIsMessageTypeOfPairEqual( const std::type_info& inType ) : itsIsTypeEqual( inType ) {}

    template<class TPair>
    bool operator()( const TPair& inPair ) const
    {
        return itsIsTypeEqual( inPair.second );
    }

private:
    XIsMessageTypeEqual itsIsTypeEqual;
};
