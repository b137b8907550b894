#pragma once

#include "Messaging/XMessage.h"

/// A message with one untyped pointer, which it does not own. Equal to messages of the same class and speaker
/// with the same pointer.
class KORVALE_API XMessageVoid : public XMessage
{
public:
    explicit XMessageVoid( XSpeaker* inSpeaker = nullptr, void* inInfo = nullptr );
    ~XMessageVoid() override;

    XMessageVoid* Clone() const override;
    bool operator==( const XMessage& inOther ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    void* GetInfo() const { return itsInfo; }
    void SetInfo( void* inInfo ) { itsInfo = inInfo; }

private:
    void* itsInfo;
};
