#pragma once

#include "Core/Strings/XString.h"
#include "Ground/XTypes.h"

#include <atomic>
#include <exception>
#include <string>

/// A failure, identified by a 32-bit error number that selects its message text. Exceptions are values: they
/// are thrown by value and caught by reference. Constructing one records its number as the calling thread's
/// last error.
class KORVALE_API XException : public std::exception
{
public:
    explicit XException( std::uint32_t inErrorNumber );
    XException( const XException& ) = default;
    XException& operator=( const XException& ) = default;
    ~XException() override;

    /// The text shown to users: "The command could not be completed because " and the raw message.
    virtual XString GetErrorMessage() const;

    /// The message text of the number, followed by the number in parentheses. Texts registered with
    /// `AddErrorStringToMap` take precedence over the library's string table.
    virtual XString GetRawErrorMessage() const;

    /// Both are false for silent errors: the user's abort (1001), the end of the process (1019), a stopped
    /// thread (2702).
    virtual bool ShouldLogError() const;
    virtual bool ShouldReportError() const;

    /// True when the error is a fault of the program itself and has a crash dump.
    virtual bool IsCrashError() const;

    /// Sets `outDump` to the crash dump, if there is one, and leaves it unchanged otherwise.
    virtual void GetCrashDump( XString& outDump ) const;

    /// The raw message, for code that knows standard exceptions only. Created on first use, on any thread;
    /// valid until the exception is assigned to, given another number or destroyed.
    const char* what() const noexcept final;

    /// Same as `GetErrorMessage()`.
    operator XString() const { return GetErrorMessage(); }

    std::uint32_t GetErrorNumber() const { return itsErrorNumber; }

    /// Changes the number and records it as the calling thread's last error.
    void SetErrorNumber( std::uint32_t inErrorNumber );

    /// Registers or replaces the message text of a number for the whole process. Safe from any thread.
    static void AddErrorStringToMap( std::uint32_t inErrorNumber, const XString& inText );

    /// Registers the built-in texts that are not in the string table. Called by WInitCore.
    static void Initialise();

    /// The number of the last exception constructed on this thread; 0 if there was none, or if the thread is
    /// neither an XThread nor the main thread.
    static std::uint32_t GetLastError();
    static void SetLastError( std::uint32_t inErrorNumber );
    static void ResetLastError();

    /// Sets the variable that holds the calling thread's last error number from now on, and returns the one
    /// that was set before. The caller owns the variable and keeps it alive until the thread ends or another
    /// slot is set. Null stores nothing; that is the initial state of threads that the library did not start.
    static std::uint32_t* SetLastErrorSlot( std::uint32_t* inSlot );

protected:
    virtual bool IsSilentErrorCode() const;

private:
    /// The text of `what`. A copy creates its own, since it may be of another class.
    class XText
    {
    public:
        XText() = default;
        XText( const XText& ) noexcept {}
        XText& operator=( const XText& ) noexcept
        {
            Reset();
            return *this;
        }
        ~XText() { Reset(); }

        void Reset() noexcept { delete itsText.exchange( nullptr ); }

        std::atomic<const std::string*> itsText = nullptr;
    };

    std::uint32_t itsErrorNumber;
    mutable XText itsText;
};
