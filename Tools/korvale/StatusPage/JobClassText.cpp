#include "StatusPage/JobClassText.h"

#include "Core/Streams/XClassRegistry.h"

std::string DescribeJobClass( const XVersion& inClass )
{
    const XString description = XClassRegistry::GetClassDescription( inClass );
    return description.IsEmpty() ? "class " + std::to_string( inClass.GetClassID() ) : description.ToUTF8();
}
