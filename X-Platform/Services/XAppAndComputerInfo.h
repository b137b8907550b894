#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Services/XAppVersion.h"

/// Describes a running application and its computer, for the logon of nodes and for lists of them. A value.
class KORVALE_API XAppVersion::XAppAndComputerInfo
    : public XStorableT<XAppVersion::XAppAndComputerInfo, kClassAppAndComputerInfo>
{
public:
    /// Empty strings and zeros.
    XAppAndComputerInfo() = default;
    XAppAndComputerInfo( const XAppAndComputerInfo& ) = default;
    XAppAndComputerInfo& operator=( const XAppAndComputerInfo& ) = default;
    ~XAppAndComputerInfo() override;

    /// Describes this process. The name defaults to the computer's.
    static XAppAndComputerInfo GetCurrent( const XString& inName = XString() );

    const XAppVersion& GetAppVersion() const { return itsAppVersion; }

    /// A random identifier of the process, constant while it runs.
    const XUUID& GetInstanceID() const { return itsInstanceID; }

    /// The display name of the process.
    const XString& GetName() const { return itsName; }
    std::uint32_t GetProcessID() const { return itsProcessID; }

    const XString& GetComputerName() const { return itsComputerName; }
    /// "Linux 6.1.0-18-amd64 x86_64".
    const XString& GetSystemDescription() const { return itsSystemDescription; }
    /// The number of logical processors available to the process.
    std::uint32_t GetProcessorCount() const { return itsProcessorCount; }
    /// Memory of the computer, or the limit of its container, in bytes.
    std::uint64_t GetMemoryBytes() const { return itsMemoryBytes; }

    USize64 GetFieldsUsage() const;
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    XAppVersion itsAppVersion;
    XUUID itsInstanceID;
    XString itsName;
    std::uint32_t itsProcessID = 0;
    XString itsComputerName;
    XString itsSystemDescription;
    std::uint32_t itsProcessorCount = 0;
    std::uint64_t itsMemoryBytes = 0;
};
