#include "Services/XAppVersion.h"

#include <mutex>
#include <optional>

namespace
{

std::mutex sMutex;
std::optional<XAppVersion> sCurrent; // guarded by sMutex

} // namespace

XAppVersion::XAppVersion(
    const XString& inName, std::uint32_t inMajor, std::uint32_t inMinor, std::uint32_t inPatch )
    : itsName( inName ), itsMajor( inMajor ), itsMinor( inMinor ), itsPatch( inPatch )
{
}

XAppVersion::~XAppVersion() = default;

XAppVersion XAppVersion::GetLibraryVersion()
{
    return XAppVersion( "Korvale Core", KORVALE_VERSION_NUMBERS );
}

XAppVersion XAppVersion::GetCurrent()
{
    const std::lock_guard lock( sMutex );
    return sCurrent ? *sCurrent : GetLibraryVersion();
}

void XAppVersion::SetCurrent( const XAppVersion& inVersion )
{
    const std::lock_guard lock( sMutex );
    sCurrent = inVersion;
}

XString XAppVersion::GetDescription() const
{
    XString text = itsName + " ";
    text += itsMajor;
    text += '.';
    text += itsMinor;
    text += '.';
    text += itsPatch;
    return text;
}

bool XAppVersion::IsCompatibleWith( const XAppVersion& inOther ) const
{
    return itsName == inOther.itsName && itsMajor == inOther.itsMajor && itsMinor == inOther.itsMinor;
}

USize64 XAppVersion::GetFieldsUsage() const
{
    return itsName.GetStreamUsage() + 3 * sizeof( std::uint32_t );
}

void XAppVersion::ReadStreamSelf( XStream& inStream )
{
    inStream.ReadString( itsName );
    itsMajor = inStream.Read32();
    itsMinor = inStream.Read32();
    itsPatch = inStream.Read32();
}

void XAppVersion::WriteStreamSelf( XStream& inStream ) const
{
    inStream.WriteString( itsName );
    inStream.Write32( itsMajor );
    inStream.Write32( itsMinor );
    inStream.Write32( itsPatch );
}
