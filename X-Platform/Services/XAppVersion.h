#pragma once

#include "Core/Streams/XStorableT.h"
#include "Core/Strings/XString.h"

/// The name and the version of an application: "korvale 0.1.0". A value.
///
/// Programs of a deployment exchange objects of their own classes and therefore check each other's version first
/// (`IsCompatibleWith`).
class KORVALE_API XAppVersion : public XStorableT<XAppVersion, kClassAppVersion>
{
public:
    class XAppAndComputerInfo;

    /// An empty name, version 0.0.0.
    XAppVersion() = default;
    XAppVersion( const XString& inName, std::uint32_t inMajor, std::uint32_t inMinor, std::uint32_t inPatch );
    XAppVersion( const XAppVersion& ) = default;
    XAppVersion& operator=( const XAppVersion& ) = default;
    ~XAppVersion() override;

    /// This library: "Korvale Core".
    static XAppVersion GetLibraryVersion();

    /// The application of this process; the library's version until an application sets its own. May be called from any
    /// thread.
    static XAppVersion GetCurrent();
    static void SetCurrent( const XAppVersion& inVersion );

    const XString& GetName() const { return itsName; }
    std::uint32_t GetMajor() const { return itsMajor; }
    std::uint32_t GetMinor() const { return itsMinor; }
    std::uint32_t GetPatch() const { return itsPatch; }

    /// "korvale 0.1.0".
    XString GetDescription() const;

    /// Whether name, major and minor version are equal. The patch number may differ.
    bool IsCompatibleWith( const XAppVersion& inOther ) const;

    friend bool operator==( const XAppVersion& inLeft, const XAppVersion& inRight )
    {
        return inLeft.IsCompatibleWith( inRight ) && inLeft.itsPatch == inRight.itsPatch;
    }

    USize64 GetFieldsUsage() const;
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    XString itsName;
    std::uint32_t itsMajor = 0;
    std::uint32_t itsMinor = 0;
    std::uint32_t itsPatch = 0;
};
