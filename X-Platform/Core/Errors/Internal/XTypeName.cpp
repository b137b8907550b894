#include "Core/Errors/Internal/XTypeName.h"

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

std::string XGetTypeName( const std::type_info& inType )
{
    int status = 0;
    const std::unique_ptr<char, decltype( &std::free )> name(
        abi::__cxa_demangle( inType.name(), nullptr, nullptr, &status ), &std::free );
    return name ? name.get() : inType.name();
}

std::string XGetCurrentExceptionTypeName()
{
    const std::type_info* const type = abi::__cxa_current_exception_type();
    return type ? XGetTypeName( *type ) : "unknown";
}
