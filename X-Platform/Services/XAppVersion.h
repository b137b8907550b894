#pragma once

#include "Core/Streams/XStorableT.h"
#include "Core/Strings/XString.h"

/// The name and the version of an application: "korvale 0.1.0". A value.
///
/// Programs of one deployment exchange objects of their own, so a peer is asked for its version before it gets work
/// (`IsCompatibleWith`).
class KORVALE_API XAppVersion : public XStorableT<XAppVersion, kClassAppVersion>
{
public:
    class XAppAndComputerInfo;

    /// No application: an empty name, 0.0.0.
    XAppVersion() = default;
    XAppVersion( const XString& inName, std::uint32_t inMajor, std::uint32_t inMinor, std::uint32_t inPatch );
    XAppVersion( const XAppVersion& ) = default;
    XAppVersion& operator=( const XAppVersion& ) = default;
    ~XAppVersion() override;

    /// This library: "Korvale Core".
    static XAppVersion GetLibraryVersion();

    /// The application that this process runs; the library's version until an application has set its own. From any
    /// thread.
    static XAppVersion GetCurrent();
    static void SetCurrent( const XAppVersion& inVersion );

    const XString& GetName() const { return itsName; }
    std::uint32_t GetMajor() const { return itsMajor; }
    std::uint32_t GetMinor() const { return itsMinor; }
    std::uint32_t GetPatch() const { return itsPatch; }

    /// "korvale 0.1.0".
    XString GetDescription() const;

    /// Whether the two can work together: they have the same name, major and minor version. The patch may differ.
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
