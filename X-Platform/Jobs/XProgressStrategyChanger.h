#pragma once

#include "Ground/XTypes.h"

class XProgressStrategy;

/// Installs a strategy on the calling thread during its lifetime, then restores the previous one. The
/// strategy remains the caller's; null reports nothing. The thread must have an XThread (internal error,
/// "thread").
class KORVALE_API XProgressStrategyChanger
{
public:
    explicit XProgressStrategyChanger( XProgressStrategy* inStrategy );
    XProgressStrategyChanger( const XProgressStrategyChanger& ) = delete;
    XProgressStrategyChanger& operator=( const XProgressStrategyChanger& ) = delete;
    ~XProgressStrategyChanger();

private:
    XProgressStrategy* itsPrevious;
};
