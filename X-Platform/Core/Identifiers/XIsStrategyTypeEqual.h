#pragma once

#include "Core/Identifiers/XStrategyAbstract.h"
#include "Core/Storables/XRefPtr.h"

#include <typeindex>

/// Matches strategies of exactly one class, for `std::find_if` and its like. Null pointers match nothing.
class XIsStrategyTypeEqual
{
public:
    explicit XIsStrategyTypeEqual( const std::type_info& inType ) : itsType( inType ) {}

    bool operator()( const XRefPtr<XStrategyAbstract>& inStrategy ) const
    {
        const XStrategyAbstract* strategy = inStrategy.Get();
        return strategy && itsType == typeid( *strategy );
    }

private:
    std::type_index itsType;
};
