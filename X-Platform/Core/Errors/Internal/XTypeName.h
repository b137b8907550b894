#pragma once

#include <string>
#include <typeinfo>

/// The name of a type as the source writes it, with its namespaces. Internal.
std::string XGetTypeName( const std::type_info& inType );

/// The type of the exception that is being handled, within a catch clause. Internal.
std::string XGetCurrentExceptionTypeName();
