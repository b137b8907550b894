#pragma once

#include "Core/Storables/XVersion.h"
#include "Ground/XTypes.h"

#include <string>

/// Receives reports of what readers find in a stream, field by field, and of why they reject it; see
/// XStream::SetObserver. Fields belong to objects, which may nest. Readers report through XStreamFields.h.
/// Texts are UTF-8.
///
/// Threads: called on the thread that reads. An exception thrown by an observer ends the reading.
class KORVALE_API XStreamObserver
{
public:
    virtual ~XStreamObserver() = default;

    /// A field begins. `inName` is a noun phrase: "the length of a run". There is no EndField for a field in
    /// which reading fails or that turns out to be missing.
    virtual void BeginField( SSize64 inPosition, const std::string& inName ) = 0;
    /// A part of the current field begins; errors from here on belong to this part.
    virtual void BeginPart( SSize64 inPosition ) = 0;
    /// The field has been read up to `inEnd`; `inText` is its value.
    virtual void EndField( SSize64 inEnd, const std::string& inText ) = 0;

    virtual void BeginObject( SSize64 inPosition, XVersion inVersion ) = 0;
    virtual void EndObject( SSize64 inEnd ) = 0;

    /// Errors from here on belong to the last field of this name.
    virtual void ReturnToField( const std::string& inName ) = 0;
    /// The reader is about to throw, for `inReason`.
    virtual void Refuse( const std::string& inReason ) = 0;
};
