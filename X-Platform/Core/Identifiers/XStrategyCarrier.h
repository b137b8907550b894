#pragma once

#include "Core/Identifiers/XStrategyAbstract.h"
#include "Core/Storables/XRefPtr.h"

#include <algorithm>
#include <typeinfo>

/// Holds the strategies of an object and finds them by class, number or name. If several match, the one added
/// first is found.
///
/// Ownership: shares its strategies by reference counting; copies share the same ones.
/// Threads: as a vector: several threads may search at once; changes need a lock held by the caller.
class KORVALE_API XStrategyCarrier
{
public:
    /// Throws an internal error ("inStrategy") for a null pointer.
    void AddStrategy( XRefPtr<XStrategyAbstract> inStrategy );

    /// Returns true if the carrier had the strategy.
    bool RemoveStrategy( const XStrategyAbstract& inStrategy );
    void RemoveAllStrategies() { itsStrategies.clear(); }

    /// In the order in which they were added.
    const XVector<XRefPtr<XStrategyAbstract>>& GetStrategies() const { return itsStrategies; }

    /// The finders return null if no strategy matches. A class matches exactly; derived classes do not.
    XRefPtr<XStrategyAbstract> FindStrategyByType( const std::type_info& inType ) const;
    XRefPtr<XStrategyAbstract> FindStrategyByID( std::uint32_t inID ) const;
    XRefPtr<XStrategyAbstract> FindStrategyByName( const XString& inName ) const;

    template<class T>
    XRefPtr<T> FindStrategy() const
    {
        return XRefPtr<T>::Share( static_cast<T*>( FindStrategyByType( typeid( T ) ).Get() ) );
    }

    template<class TPredicate>
    XRefPtr<XStrategyAbstract> FindStrategyIf( const TPredicate& inPredicate ) const
    {
        const auto found = std::find_if( itsStrategies.begin(), itsStrategies.end(), inPredicate );
        return found == itsStrategies.end() ? nullptr : *found;
    }

private:
    XVector<XRefPtr<XStrategyAbstract>> itsStrategies;
};
