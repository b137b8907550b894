#pragma once

#include "Core/Identifiers/XUUID.h"
#include "Services/XAppVersion.h"

/// A running application and the computer that it runs on: what a node tells of itself when it logs on, and what lists
/// of nodes show. A value.
class KORVALE_API XAppVersion::XAppAndComputerInfo
    : public XStorableT<XAppVersion::XAppAndComputerInfo, kClassAppAndComputerInfo>
{
public:
    /// Nothing known: empty texts, zeros.
    XAppAndComputerInfo() = default;
    XAppAndComputerInfo( const XAppAndComputerInfo& ) = default;
    XAppAndComputerInfo& operator=( const XAppAndComputerInfo& ) = default;
    ~XAppAndComputerInfo() override;

    /// This process now. Its name is the computer's, unless another is given.
    static XAppAndComputerInfo GetCurrent( const XString& inName = XString() );

    const XAppVersion& GetAppVersion() const { return itsAppVersion; }

    /// Tells processes apart that have the same name: new for each process, the same for all information of it.
    const XUUID& GetInstanceID() const { return itsInstanceID; }

    /// The name under which people know the process.
    const XString& GetName() const { return itsName; }
    std::uint32_t GetProcessID() const { return itsProcessID; }

    const XString& GetComputerName() const { return itsComputerName; }
    /// "Linux 6.1.0-18-amd64 x86_64".
    const XString& GetSystemDescription() const { return itsSystemDescription; }
    /// Logical processors that the process may run on.
    std::uint32_t GetProcessorCount() const { return itsProcessorCount; }
    /// Memory of the computer, or what its container allows, in bytes.
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
