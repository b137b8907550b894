#pragma once

#include "Core/Identifiers/XStrategyAbstract.h"
#include "Core/Storables/XRefPtr.h"

/// Matches strategies with one number, for `std::find_if` and its like. Null pointers match nothing.
class XIsStrategyIDEqual
{
public:
    explicit XIsStrategyIDEqual( std::uint32_t inID ) : itsID( inID ) {}

    bool operator()( const XRefPtr<XStrategyAbstract>& inStrategy ) const
    {
        return inStrategy && inStrategy->GetStrategyID() == itsID;
    }

private:
    std::uint32_t itsID;
};
