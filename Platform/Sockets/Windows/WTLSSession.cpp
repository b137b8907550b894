#include "Sockets/WTLSSession.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

// This system has no contexts, so it has no sessions.

struct WTLSSession::System
{
};

WTLSSession::WTLSSession( std::shared_ptr<const WTLSContext>, Side )
{
    XThrow( kErrorTLSUnavailable );
}

WTLSSession::~WTLSSession() = default;

WTLSSession::Outcome WTLSSession::Handshake()
{
    return { kFailed, 0, kErrorTLSUnavailable };
}

WTLSSession::Outcome WTLSSession::Read( void*, USize )
{
    return { kFailed, 0, kErrorTLSUnavailable };
}

WTLSSession::Outcome WTLSSession::Write( const void*, USize )
{
    return { kFailed, 0, kErrorTLSUnavailable };
}

void WTLSSession::End() {}

std::span<std::uint8_t> WTLSSession::GetInputRoom()
{
    return {};
}

void WTLSSession::CommitInput( USize ) {}

USize WTLSSession::GetOutputSize() const
{
    return 0;
}

void WTLSSession::TakeOutput( std::vector<std::uint8_t>& ) {}
