#pragma once

#include "Network/TestConnection.h"
#include "Servers/XHTTPClient.h"

inline XHTTPClient::XSettings MakePatientSettings()
{
    XHTTPClient::XSettings settings;
    settings.usesProxy = false;
    settings.connectMS = settings.stallMS = settings.totalMS = kPatience;
    return settings;
}

/// A server that takes a request and sends certain bytes; then it closes, or waits for the client to do so.
struct OddServer
{
    explicit OddServer( std::string inAnswer, bool inCloses = false )
        : itsThread(
              [this, inAnswer, inCloses]
              {
                  try
                  {
                      const auto connection = itsListener.Accept();
                      SetConnection( *connection );
                      connection->ReceiveLine( "\r\n\r\n", kPatience );
                      connection->SendData(
                          inAnswer.data(), static_cast<std::uint32_t>( inAnswer.size() ), kPatience );
                      char byte = 0;
                      if ( !inCloses )
                          connection->ReceiveAnyData( &byte, 1, kPatience );
                      connection->ForceDisconnect();
                  }
                  catch ( const XException& )
                  {
                  }
              } )
    {
    }
    ~OddServer()
    {
        itsListener->Unbind();
        itsThread.join();
    }

    std::string GetURL() const
    {
        return "http://127.0.0.1:" + std::to_string( itsListener.GetAddress().GetPort() );
    }

private:
    /// Returns the one before.
    XNetEndpoint SetConnection( const XNetEndpoint& inConnection )
    {
        const std::lock_guard lock( itsMutex );
        return std::exchange( itsConnection, inConnection );
    }

    TestListener itsListener;
    std::mutex itsMutex;
    XNetEndpoint itsConnection; // guarded by itsMutex
    std::thread itsThread;
};
