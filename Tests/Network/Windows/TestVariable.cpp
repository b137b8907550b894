#include "Network/TestVariable.h"

#include "Testing.h"

void SetVariable( const char* inName, const std::string& inValue )
{
    _putenv_s( inName, inValue.c_str() );
}
