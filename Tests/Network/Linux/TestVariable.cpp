#include "Network/TestVariable.h"

#include <cstdlib>

void SetVariable( const char* inName, const std::string& inValue )
{
    setenv( inName, inValue.c_str(), 1 );
}
