#pragma once

#include "Core/Identifiers/XStrategyAbstract.h"
#include "Core/Storables/XRefPtr.h"
#include "Core/Strings/XString.h"

/// Matches strategies with one name, byte by byte, for `std::find_if` and its like. Null pointers match
/// nothing.
class XIsStrategyNameEqual
{
public:
    explicit XIsStrategyNameEqual( const XString& inName ) : itsName( inName ) {}

    bool operator()( const XRefPtr<XStrategyAbstract>& inStrategy ) const
    {
        return inStrategy && inStrategy->GetStrategyName() == itsName;
    }

private:
    XString itsName;
};
