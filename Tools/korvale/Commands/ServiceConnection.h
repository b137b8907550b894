#pragma once

#include <cstdint>
#include <string>

class XRPCBridge;

/// The time-out of each step of the handshake with a service and of each call, in milliseconds.
inline constexpr std::uint32_t kServiceTimeoutMS = 10'000;

/// Connects a bridge to the service at HOST:PORT, with progress. The message of a failure names the likely cause.
void ConnectToService( XRPCBridge& ioBridge, const std::string& inPlace );
