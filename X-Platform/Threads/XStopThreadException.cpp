#include "Threads/XStopThreadException.h"

#include "Ground/XErrorNumbers.h"

XStopThreadException::XStopThreadException( std::uint32_t inStopCode )
    : XException( kErrorThreadStopped ), itsStopCode( inStopCode )
{
}

XString XStopThreadException::GetErrorMessage() const
{
    return GetRawErrorMessage();
}

XString XStopThreadException::GetRawErrorMessage() const
{
    return XException::GetRawErrorMessage() + ", stop code " + XString( itsStopCode );
}
