#pragma once

#include "Core/Storables/XRefCountable.h"

class XString;

/// Base of strategies: objects that do one part of another object's work in one of several ways. The owner's
/// XStrategyCarrier finds them by class, number or name. Shared by reference counting.
class KORVALE_API XStrategyAbstract : public XRefCountable
{
public:
    /// Identifies the kind of strategy; constant for the life of the object. Numbers should be unique within
    /// a carrier, but this is not enforced.
    virtual std::uint32_t GetStrategyID() const = 0;
    virtual XString GetStrategyName() const = 0;

protected:
    ~XStrategyAbstract() override;
};
