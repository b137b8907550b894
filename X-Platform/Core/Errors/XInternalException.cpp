#include "Core/Errors/XInternalException.h"

#include "Ground/XErrorNumbers.h"

#include <string>

XInternalException::XInternalException(
    const XString& inExpression, const XString& inFile, std::int32_t inLine, const XString& inCrashDump )
    : XException( kErrorInternal ), itsExpression( inExpression ), itsFile( inFile ), itsLine( inLine ),
      itsCrashDump( inCrashDump )
{
}

XInternalException::~XInternalException() = default;

XString XInternalException::GetRawErrorMessage() const
{
    std::string message = "an internal error occurred: ";
    message += itsExpression.GetConstCharPtr();
    message += " in \"";
    message += itsFile.GetConstCharPtr();
    message += "\" at line " + std::to_string( itsLine ) + " (" + std::to_string( GetErrorNumber() ) + ")";
    return XString( message );
}

bool XInternalException::IsCrashError() const
{
    return true;
}

void XInternalException::GetCrashDump( XString& outDump ) const
{
    outDump = itsCrashDump;
}
