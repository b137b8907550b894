#pragma once

#include "Ground/XTypes.h"

class XProgressStrategy;

/// Installs a strategy on the calling thread for as long as it lives, and then the one that was there before.
/// The strategy stays the caller's; null reports nothing. The thread has an XThread (internal error,
/// "thread", otherwise).
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
