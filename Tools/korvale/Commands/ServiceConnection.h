#pragma once

#include <cstdint>
#include <string>

class CommandOptions;
class XRPCBridge;

/// The time-out of each step of the handshake with a service and of each call, in milliseconds.
inline constexpr std::uint32_t kServiceTimeoutMS = 10'000;

/// The last paragraph of the help of commands that ask a service, with the line break before it.
inline constexpr const char* kServiceExitStatuses =
    "\n"
    "Exit status: 0, 1 when the service does not answer, 2 for wrong usage, 130 when\n"
    "interrupted.";

/// Declares the address of the service, ADDRESS, which is stored in `outPlace`.
void DeclareService( const CommandOptions& inOptions, std::string& outPlace );

/// Connects a bridge to the service at HOST:PORT, with progress. The message of a failure names the likely cause.
void ConnectToService( XRPCBridge& ioBridge, const std::string& inPlace );
