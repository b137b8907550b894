#include "Core/Identifiers/XStrategyCarrier.h"

#include "Core/Identifiers/XIsStrategyIDEqual.h"
#include "Core/Identifiers/XIsStrategyNameEqual.h"
#include "Core/Identifiers/XIsStrategyTypeEqual.h"
#include "Ground/XFail.h"

void XStrategyCarrier::AddStrategy( XRefPtr<XStrategyAbstract> inStrategy )
{
    XAssert( inStrategy );
    itsStrategies.push_back( std::move( inStrategy ) );
}

bool XStrategyCarrier::RemoveStrategy( const XStrategyAbstract& inStrategy )
{
    const auto isIt = [&inStrategy]( const XRefPtr<XStrategyAbstract>& inOther )
    { return inOther.Get() == &inStrategy; };
    return std::erase_if( itsStrategies, isIt ) > 0;
}

XRefPtr<XStrategyAbstract> XStrategyCarrier::FindStrategyByType( const std::type_info& inType ) const
{
    return FindStrategyIf( XIsStrategyTypeEqual( inType ) );
}

XRefPtr<XStrategyAbstract> XStrategyCarrier::FindStrategyByID( std::uint32_t inID ) const
{
    return FindStrategyIf( XIsStrategyIDEqual( inID ) );
}

XRefPtr<XStrategyAbstract> XStrategyCarrier::FindStrategyByName( const XString& inName ) const
{
    return FindStrategyIf( XIsStrategyNameEqual( inName ) );
}
