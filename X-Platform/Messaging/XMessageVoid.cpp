#include "Messaging/XMessageVoid.h"

#include <cstdint>
#include <typeinfo>

XMessageVoid::XMessageVoid( XSpeaker* inSpeaker, void* inInfo ) : XMessage( inSpeaker ), itsInfo( inInfo ) {}

XMessageVoid::~XMessageVoid() = default;

XMessageVoid* XMessageVoid::Clone() const
{
    return new XMessageVoid( *this );
}

bool XMessageVoid::operator==( const XMessage& inOther ) const
{
    const auto* const other = dynamic_cast<const XMessageVoid*>( &inOther );
    return other && XMessage::operator==( inOther ) && itsInfo == other->itsInfo;
}

std::uint64_t XMessageVoid::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XMessageVoid ) ? reinterpret_cast<std::uintptr_t>( itsInfo ) : 0;
}
