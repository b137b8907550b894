#pragma once

#include "Core/Storables/XRefCountable.h"

class XString;

/// Base of strategies: objects that do one part of another object's work in one of several ways, and that
/// their carrier finds by class, by number or by name. Shared by reference counting.
class KORVALE_API XStrategyAbstract : public XRefCountable
{
public:
    /// What kind of strategy this is; stays the same for the life of the object. Unique within a carrier by
    /// convention, not by rule.
    virtual std::uint32_t GetStrategyID() const = 0;
    virtual XString GetStrategyName() const = 0;

protected:
    ~XStrategyAbstract() override;
};
