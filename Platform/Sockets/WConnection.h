#pragma once

#include "Ground/WDeadline.h"
#include "Ground/WWaitResult.h"
#include "WPlatform.h"

#include <atomic>
#include <memory>

/// One end of a connection, or a listener for connections: a socket or a pipe of the system. Never blocks in
/// the system; operations wait until a deadline. Another thread can end all waits with `Interrupt`, and the
/// wait of one thread by alerting it (WThread::Wake).
///
/// A wait first retries for a moment, because waking a sleeping thread on another processor takes longer than
/// most peers take to answer.
///
/// Ownership: the object owns the descriptor and closes it in its destructor. Threads share the object by
/// `WConnectionPtr`, so the descriptor outlives every call that uses it, and the system cannot give its
/// number to another connection meanwhile.
/// Threads: any thread may call any function at any time; if two threads receive, each byte goes to one of
/// them.
/// Errors: expected errors are part of the outcome, as system codes with Winsock's numbers (10054 and so on).
/// The first wait of a thread throws the system's last error if there is no descriptor left for its alert.
class KORVALE_API WConnection
{
public:
    enum Status : std::uint32_t
    {
        kDone,
        kTimedOut,
        kAlerted, ///< the waiting thread was alerted: nothing has been done, the caller may continue
        kFailed,  ///< see `error`
    };

    struct Outcome
    {
        Status status = kDone;
        USize count = 0; ///< bytes transferred
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

    /// Waits for a connection and accepts it.
    Outcome Accept( std::shared_ptr<WConnection>& outConnection, const WDeadline& inDeadline );

    /// Waits until connecting has finished, after it was started. May be called again after kTimedOut and
    /// kAlerted.
    Outcome FinishConnecting( const WDeadline& inDeadline );

    // ---- Transfer

    /// Sends at least one byte.
    Outcome Send( const void* inBytes, USize inCount, const WDeadline& inDeadline );

    /// Receives at least one byte; a count of 0 means that the peer has closed or the connection was
    /// interrupted.
    Outcome Receive( void* outBytes, USize inCount, const WDeadline& inDeadline );

    /// Receives without consuming the bytes.
    Outcome Peek( void* outBytes, USize inCount, const WDeadline& inDeadline );

    /// Waits until more than `inCount` bytes have arrived (count 1) or no more will arrive (count 0). Polls
    /// if the system has no wait for this.
    virtual Outcome WaitForMore( USize inCount, const WDeadline& inDeadline );

    /// Bytes that can be received without waiting.
    virtual std::uint32_t GetWaitingBytes() const = 0;

    // ---- End

    /// Ends the sending side of the connection.
    virtual void ShutDownSending() = 0;

    /// Ends the connection for both sides, and all current and future waits on it. Does not close the
    /// descriptor.
    void Interrupt();
    bool IsInterrupted() const { return itsIsInterrupted.load(); }

protected:
    enum Direction
    {
        kForReading,
        kForWriting,
        kForPeeking, // waits for the end of the connection, not for bytes
    };

    WConnection() = default;

    // ---- Implemented by each kind of connection. An attempt that would have to wait fails with
    // kErrorWouldBlock.

    /// Whether a connection may be accepted only after the system has reported one.
    virtual bool HasToWaitToAccept() const { return false; }

    virtual Outcome TryAccept( std::shared_ptr<WConnection>& outConnection ) = 0;
    virtual Outcome TryFinishConnecting() = 0;
    virtual Outcome TrySend( const void* inBytes, USize inCount ) = 0;
    virtual Outcome TryReceive( void* outBytes, USize inCount, bool inPeek ) = 0;

    /// Whether no more bytes will arrive after those waiting.
    virtual bool HasPeerClosed() const = 0;

    /// Ends the connection and the sleeps on it.
    virtual void EndConnection() = 0;
    virtual WWaitResult
    SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool inAlertable ) = 0;

    /// Sleeps, but returns at once on an interrupted connection and in a thread that has been alerted.
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
