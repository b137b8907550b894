#include "Core/Identifiers/XUUID.h"
#include "Core/Streams/XStream.h"

void XUUID::ReadStream2( XStream& inStream )
{
    inStream.ReadBuffer8( itsBytes, kByteCount );
}

void XUUID::WriteStream2( XStream& inStream ) const
{
    inStream.WriteBuffer8( itsBytes, kByteCount );
}
