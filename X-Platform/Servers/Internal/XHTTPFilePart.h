#pragma once

#include "Files/WFile.h"
#include "Servers/XHTTPRequest.h"
#include "Servers/XHTTPResponse.h"

/// The part of a file that a request asks for: all of it, a range, or nothing because the client has it already. Internal
/// to XHTTPConnection.
class XHTTPFilePart
{
public:
    /// Opens the file and sets the status and the fields that go with it; 404 where there is no regular file.
    XHTTPFilePart(
        const XHTTPRequest& inRequest, const std::filesystem::path& inPath, XHTTPResponse& ioResponse );

    std::uint64_t GetLength() const { return itsEnd - itsBegin; }
    std::uint64_t GetBegin() const { return itsBegin; }
    const WFile& GetFile() const { return itsFile; }

    /// Whether conditions and ranges count: only for what is asked for and is there.
    static bool HasConditions( const XHTTPRequest& inRequest, const XHTTPResponse& inResponse );

    /// 304 or 412 where the conditions of a request for a body with these fields say so, else 0.
    static int CheckConditions( const XHTTPRequest& inRequest, const XHTTPHeaders& inFields );

private:
    void TakeRange( const XHTTPRequest& inRequest, XHTTPResponse& ioResponse );

    WFile itsFile;
    std::uint64_t itsSize = 0;
    std::uint64_t itsBegin = 0;
    std::uint64_t itsEnd = 0;
};
