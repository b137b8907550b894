#pragma once

#include "Ground/WDeadline.h"
#include "Ground/WWaitResult.h"
#include "WPlatform.h"

#include <atomic>
#include <memory>

/// One end of a connection, or what waits for connections: a socket or a pipe of the system. It never blocks; operations
/// wait with a deadline of their own, which another thread ends at once by `Interrupt`, and any thread by alerting the
/// waiting one (WThread::Wake).
///
/// A wait first tries again for a moment, because waking a sleeping thread on another processor takes longer than most
/// peers take to answer.
///
/// Ownership: the object owns the descriptor and closes it in its destructor. Threads share the object by
/// `WConnectionPtr`, so that the descriptor, whose number the system gives to the next one, outlives every call that uses
/// it.
/// Threads: any thread may call anything at any time; two that receive share the bytes between them.
/// Errors: what cannot be foreseen is part of the outcome: codes of the system with Winsock's numbers (10054 and so on).
/// The first wait of a thread throws the system's last error where there is no descriptor left for its alert.
class KORVALE_API WConnection
{
public:
    enum Status : std::uint32_t
    {
        kDone,
        kTimedOut,
        kAlerted, ///< the waiting thread was: nothing has been done, the caller may go on
        kFailed,  ///< see `error`
    };

    struct Outcome
    {
        Status status = kDone;
        USize count = 0; ///< bytes moved
        std::uint32_t error = 0;
    };

    static constexpr std::uint32_t kErrorInterrupted = 10004;
    static constexpr std::uint32_t kErrorAccess = 10013;
    static constexpr std::uint32_t kErrorWouldBlock = 10035;
    static constexpr std::uint32_t kErrorInProgress = 10036;
    static constexpr std::uint32_t kErrorNotASocket = 10038;
    static constexpr std::uint32_t kErrorAddressInUse = 10048;
    static constexpr std::uint32_t kErrorAborted = 10053;
    static constexpr std::uint32_t kErrorReset = 10054;
    static constexpr std::uint32_t kErrorNoBuffers = 10055;
    static constexpr std::uint32_t kErrorTimedOut = 10060;
    static constexpr std::uint32_t kErrorRefused = 10061;

    WConnection( const WConnection& ) = delete;
    WConnection& operator=( const WConnection& ) = delete;
    virtual ~WConnection();

    /// Waits for a connection and takes it.
    Outcome Accept( std::shared_ptr<WConnection>& outConnection, const WDeadline& inDeadline );

    /// Waits for the end of connecting, once that has begun. May be called again after kTimedOut and kAlerted.
    Outcome FinishConnecting( const WDeadline& inDeadline );

    // ---- Transfer

    /// Sends one byte at least.
    Outcome Send( const void* inBytes, USize inCount, const WDeadline& inDeadline );

    /// Receives one byte at least; a count of 0 tells that the peer has closed or that the connection was interrupted.
    Outcome Receive( void* outBytes, USize inCount, const WDeadline& inDeadline );

    /// Receives likewise, but the bytes stay.
    Outcome Peek( void* outBytes, USize inCount, const WDeadline& inDeadline );

    /// Waits until more than `inCount` bytes have arrived (count 1) or nothing more will arrive (count 0). Looks now and
    /// then where the system has no wait for this.
    virtual Outcome WaitForMore( USize inCount, const WDeadline& inDeadline );

    /// Bytes that can be received without waiting.
    virtual std::uint32_t GetWaitingBytes() const = 0;

    // ---- End

    /// Tells the peer that nothing more will be sent.
    virtual void ShutDownSending() = 0;

    /// Ends the connection for both sides, and every wait on it, now and later. Does not close the descriptor.
    void Interrupt();
    bool IsInterrupted() const { return itsIsInterrupted.load(); }

    /// Whether the error of a failed operation means that the process or the system has too many descriptors or too
    /// little memory just now, which may pass.
    static bool IsShortage( std::uint32_t inError );

protected:
    enum Direction
    {
        kForReading,
        kForWriting,
        kForPeeking, // for the end of the connection, not for bytes
    };

    WConnection() = default;

    // ---- What a kind of connection does. A try that would have to wait fails with kErrorWouldBlock.

    /// Whether connections are to be accepted only when the system has told of them.
    virtual bool HasToWaitToAccept() const { return false; }

    virtual Outcome TryAccept( std::shared_ptr<WConnection>& outConnection ) = 0;
    virtual Outcome TryFinishConnecting() = 0;
    virtual Outcome TrySend( const void* inBytes, USize inCount ) = 0;
    virtual Outcome TryReceive( void* outBytes, USize inCount, bool inPeek ) = 0;

    /// Whether nothing more will arrive behind the bytes that wait.
    virtual bool HasPeerClosed() const = 0;

    /// Ends the connection and the sleeps on it.
    virtual void EndConnection() = 0;
    virtual WWaitResult
    SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool inAlertable ) = 0;

    /// Sleeps, but returns at once on an interrupted connection and for a thread that has been alerted.
    WWaitResult Wait( Direction inDirection, const WDeadline& inDeadline );

private:
    template<class TTry>
    Outcome Repeat( Direction inDirection, const WDeadline& inDeadline, TTry inTry );
    template<class TTry>
    Outcome RepeatAfterWait( Direction inDirection, const WDeadline& inDeadline, TTry inTry );
    template<class TTry>
    Outcome Spin( TTry inTry );

    std::atomic<bool> itsIsInterrupted = false;
};

using WConnectionPtr = std::shared_ptr<WConnection>;
