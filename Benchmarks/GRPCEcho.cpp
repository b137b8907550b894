#include "NetworkPeers.h"

#include "Echo.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace peers
{

namespace
{

using grpc_peer::Message;

class GRPCService : public grpc_peer::Echo::Service
{
public:
    grpc::Status Call( grpc::ServerContext*, const Message* inRequest, Message* outReply ) override
    {
        *outReply = *inRequest;
        return grpc::Status::OK;
    }
};

class GRPCEcho : public Echo
{
public:
    explicit GRPCEcho( int inPort )
    {
        grpc::ChannelArguments arguments;
        arguments.SetInt( GRPC_ARG_ENABLE_HTTP_PROXY, 0 );
        const auto channel = grpc::CreateCustomChannel(
            "127.0.0.1:" + std::to_string( inPort ), grpc::InsecureChannelCredentials(), arguments );
        if ( !channel->WaitForConnected( std::chrono::system_clock::now() + std::chrono::seconds( 10 ) ) )
            throw std::runtime_error( "gRPC does not connect" );
        itsClient = grpc_peer::Echo::NewStub( channel );
    }

    void Call( std::vector<std::uint8_t>& ioBytes ) override
    {
        grpc::ClientContext context;
        Message request;
        Message reply;
        request.set_bytes( ioBytes.data(), ioBytes.size() );
        const grpc::Status status = itsClient->Call( &context, request, &reply );
        if ( !status.ok() )
            throw std::runtime_error( status.error_message() );
        ioBytes.assign( reply.bytes().begin(), reply.bytes().end() );
    }

private:
    std::unique_ptr<grpc_peer::Echo::Stub> itsClient;
};

} // namespace

Echo* MakeGRPCEcho( int inPort )
{
    return new GRPCEcho( inPort );
}

void ServeGRPC( const std::function<void( int )>& inServe )
{
    GRPCService service;
    int port = 0;
    grpc::ServerBuilder builder;
    builder.AddListeningPort( "127.0.0.1:0", grpc::InsecureServerCredentials(), &port );
    builder.RegisterService( &service );
    const std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
    inServe( port );
}

} // namespace peers
