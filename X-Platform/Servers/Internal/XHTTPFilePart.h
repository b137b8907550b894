#pragma once

#include "Files/WFile.h"
#include "Servers/XHTTPRequest.h"
#include "Servers/XHTTPResponse.h"

/// The part of a file to send in response to a request: all of it, a range, or nothing because the client
/// already has it. Internal to XHTTPConnection.
class XHTTPFilePart
{
public:
    /// Opens the file and sets the status and the corresponding fields; 404 if there is no regular file.
    XHTTPFilePart(
        const XHTTPRequest& inRequest, const std::filesystem::path& inPath, XHTTPResponse& ioResponse );

    std::uint64_t GetLength() const { return itsEnd - itsBegin; }
    std::uint64_t GetBegin() const { return itsBegin; }
    const WFile& GetFile() const { return itsFile; }

    /// Whether conditions and ranges apply: only to GET and HEAD with status 200.
    static bool HasConditions( const XHTTPRequest& inRequest, const XHTTPResponse& inResponse );

    /// 304 or 412 if the conditions of the request demand it for a body with these fields, otherwise 0.
    static int CheckConditions( const XHTTPRequest& inRequest, const XHTTPHeaders& inFields );

private:
    void TakeRange( const XHTTPRequest& inRequest, XHTTPResponse& ioResponse );

    WFile itsFile;
    std::uint64_t itsSize = 0;
    std::uint64_t itsBegin = 0;
    std::uint64_t itsEnd = 0;
};
