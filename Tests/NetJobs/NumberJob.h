#pragma once

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStream.h"
#include "NetJobs/XNetJob.h"
#include "NetJobs/XNetJobResult.h"
#include "Testing.h"

/// A storable class with a number after the fields of its base.
template<class TDerived, class TBase, std::uint32_t kClass>
struct WithNumber : TBase
{
    static XVersion GetClassVersion() { return XVersion( kClass, 0 ); }
    static XVersion GetSuperClassVersion() { return TBase::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    TBase* Clone() const override { return new TDerived( static_cast<const TDerived&>( *this ) ); }
    USize64 GetStreamUsage() const override { return TBase::GetStreamUsage() + 8; }
    void ReadStream2( XStream& inStream, XStorable::XOptions inOptions ) override
    {
        TBase::ReadStream2( inStream, inOptions );
        this->ReadCheckedVersion( inStream, GetClassVersion() );
        number = inStream.Read32();
    }
    void WriteStream2( XStream& inStream, XStorable::XOptions inOptions ) const override
    {
        TBase::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.Write32( number );
    }

    std::uint32_t number = 0;
};

struct NumberResult : WithNumber<NumberResult, XNetJobResult, 60110>
{
    static constexpr std::uint32_t kUnreadable = 9001;

    explicit NumberResult( std::uint32_t inNumber = 0 ) { number = inNumber; }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        WithNumber::ReadStream2( inStream, inOptions );
        if ( number == kUnreadable )
            throw std::length_error( "a result" );
    }
};

/// Runs the body of the test with its number; the result is the number. Nodes are in the process of the test.
struct NumberJob : WithNumber<NumberJob, XNetJob, 60111>
{
    using Completed = std::function<void( const NumberJob& )>;
    static constexpr std::uint32_t kUnstorable = 9002;

    explicit NumberJob( std::uint32_t inNumber = 0, Completed inCompleted = nullptr )
        : completed( std::move( inCompleted ) )
    {
        number = inNumber;
        SetTag( inNumber );
    }

    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        WithNumber::WriteStream2( inStream, inOptions );
        if ( number == kUnstorable )
            throw std::length_error( "a job" );
    }
    static void Register()
    {
        XClassRegistry::RegisterClass<NumberJob>( "Number Job" );
        XClassRegistry::RegisterClass<NumberResult>( "Number Result" );
        sBody = []( std::uint32_t ) {};
    }

    static inline std::function<void( std::uint32_t )> sBody; // set while nothing runs

protected:
    void RunJobSelf() override
    {
        sBody( number );
        SetResult( std::make_unique<NumberResult>( number ) );
    }
    void JobCompleteSelf( std::uint32_t ) override
    {
        if ( completed )
            completed( *this );
    }

private:
    Completed completed; // not stored
};
