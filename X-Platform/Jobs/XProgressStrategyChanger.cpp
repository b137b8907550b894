#include "Jobs/XProgressStrategyChanger.h"

#include "Jobs/XProgress.h"

XProgressStrategyChanger::XProgressStrategyChanger( XProgressStrategy* inStrategy )
    : itsPrevious( XProgress::GetProgressStrategy() )
{
    XProgress::SetProgressStrategy( inStrategy );
}

XProgressStrategyChanger::~XProgressStrategyChanger()
{
    XProgress::SetProgressStrategy( itsPrevious );
}
