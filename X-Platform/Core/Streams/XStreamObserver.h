#pragma once

#include "Core/Storables/XVersion.h"
#include "Ground/XTypes.h"

#include <string>

/// Is told what readers find in a stream, field by field, and why they refuse it: XStream::SetObserver. Fields lie in
/// objects, which nest. Readers report through XStreamFields.h. Texts are UTF-8.
///
/// Threads: called on the thread that reads. What an observer throws ends the reading.
class KORVALE_API XStreamObserver
{
public:
    virtual ~XStreamObserver() = default;

    /// A field begins. `inName` goes with a sentence: "the length of a run". A field that reading fails in, or that turns
    /// out to be missing, does not end.
    virtual void BeginField( SSize64 inPosition, const std::string& inName ) = 0;
    /// A part of that field begins: what goes wrong from here on is wrong there.
    virtual void BeginPart( SSize64 inPosition ) = 0;
    /// The field has been read up to `inEnd`; `inText` is what it says.
    virtual void EndField( SSize64 inEnd, const std::string& inText ) = 0;

    virtual void BeginObject( SSize64 inPosition, XVersion inVersion ) = 0;
    virtual void EndObject( SSize64 inEnd ) = 0;

    /// What goes wrong from here on is wrong in the last field of that name.
    virtual void ReturnToField( const std::string& inName ) = 0;
    /// The reader is about to throw, for this reason.
    virtual void Refuse( const std::string& inReason ) = 0;
};
