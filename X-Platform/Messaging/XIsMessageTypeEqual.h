#pragma once

#include "Messaging/XMessage.h"

#include <string_view>
#include <typeinfo>

/// Selects messages of exactly one class, in containers of messages, of pointers to them or of their class
/// names.
class XIsMessageTypeEqual
{
public:
    explicit XIsMessageTypeEqual( const std::type_info& inType ) : itsName( inType.name() ) {}

    bool operator()( const XMessage& inMessage ) const { return itsName == typeid( inMessage ).name(); }
    bool operator()( const XMessage* inMessage ) const { return inMessage && ( *this )( *inMessage ); }
    bool operator()( std::string_view inTypeName ) const { return itsName == inTypeName; }

private:
    std::string_view itsName;
};
