// The worked example of docs/network-jobs.md: a job class, run by a local queue and by nodes.

#include <Korvale.h>

#include <iostream>

/// The result: what the body has found.
class FactorResult : public XNetJobResult
{
public:
    explicit FactorResult( std::uint32_t inFactor = 0 ) : factor( inFactor ) {}

    static XVersion GetClassVersion() { return XVersion( 40010, 0 ); }
    static XVersion GetSuperClassVersion() { return XNetJobResult::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    FactorResult* Clone() const override { return new FactorResult( *this ); }
    USize64 GetStreamUsage() const override { return XNetJobResult::GetStreamUsage() + 8; }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        XNetJobResult::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetClassVersion() );
        factor = inStream.Read32();
    }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        XNetJobResult::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.Write32( factor );
    }

    std::uint32_t factor;
};

/// Finds the smallest factor of a number. Its parameter is stored, as is that of every job.
class FactorJob : public XNetJob
{
public:
    explicit FactorJob( std::uint32_t inNumber = 0 ) : itsNumber( inNumber ) {}

    static XVersion GetClassVersion() { return XVersion( 40011, 0 ); }
    static XVersion GetSuperClassVersion() { return XNetJob::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    FactorJob* Clone() const override { return new FactorJob( *this ); }
    USize64 GetStreamUsage() const override { return XNetJob::GetStreamUsage() + 8; }
    void ReadStream2( XStream& inStream, XOptions inOptions ) override
    {
        XNetJob::ReadStream2( inStream, inOptions );
        ReadCheckedVersion( inStream, GetClassVersion() );
        itsNumber = inStream.Read32();
    }
    void WriteStream2( XStream& inStream, XOptions inOptions ) const override
    {
        XNetJob::WriteStream2( inStream, inOptions );
        inStream.WriteVersion( GetClassVersion() );
        inStream.Write32( itsNumber );
    }

protected:
    /// Runs on the node.
    void RunJobSelf() override
    {
        std::uint32_t factor = 2;
        while ( itsNumber % factor != 0 )
            ++factor;
        SetResult( std::make_unique<FactorResult>( factor ) );
    }
    /// Runs in the process of the queue.
    void JobCompleteSelf( std::uint32_t inResultCode ) override
    {
        std::cout << itsNumber;
        if ( const auto* const result = dynamic_cast<const FactorResult*>( GetResult() ) )
            std::cout << " has the factor " + std::to_string( result->factor ) + '\n';
        else
            std::cout << " failed with error " << inResultCode << '\n';
    }

private:
    std::uint32_t itsNumber;
};

/// The part of the program that is the same for both queues.
template<class TQueue>
void FindFactors( TQueue& ioQueue )
{
    ioQueue.Start();
    ioQueue.AttachJob( new FactorJob( 91 ) );
    ioQueue.WaitForQueueEmpty();
}

int main()
{
    const WInitCore core;
    XClassRegistry::RegisterClass<FactorResult>( "Factor Result" );
    XClassRegistry::RegisterClass<FactorJob>( "Factor Job" );

    XJobQueue local;
    FindFactors( local );

    // Here the control service and the node are in the same process; `korvale control` and programs that register the
    // classes are used instead.
    const XRPCCipher cipher(
        XEncryptedNetStream::kAlgorithmRC4, "sixteen bytes ok" ); // XDeploymentKeys has real ones
    XNetJobControl control( cipher );
    control.Start( XNetAddress::GetLoopBackAddress( 0 ) );
    const XNetJobDeployment deployment{
        XNetAddress::GetLoopBackAddress( control.GetPort() ), cipher, nullptr };
    XNetJobQueueNode node( deployment, { "node", XNetJobQueueNode::kNodePermanent, 2 } );
    node.Start();

    XNetJobQueue distributed( deployment );
    FindFactors( distributed );
}
