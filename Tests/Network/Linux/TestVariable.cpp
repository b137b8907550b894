#include "Network/TestVariable.h"

#include "Testing.h"

void SetVariable( const char* inName, const std::string& inValue )
{
    setenv( inName, inValue.c_str(), 1 );
}
