#include "Core/Strings/XString.h"

#include <exception>
#include <memory>
#include <thread>
#include <utility>

// A self-test that programs can run on the machine of a user: readers and mutators share one storage and
// check that no thread sees another's changes.

namespace
{
constexpr unsigned kThreadsOfAKind = 4;
constexpr unsigned kRepetitions = 2000;
constexpr const char* kMary = "Mary had a little lamb...";
constexpr const char* kFleece = "its fleece was white as snow...";

/// Copies the string over and over and never sees anything but its first text.
class XStringReader
{
public:
    explicit XStringReader( const XString& inString ) : itsString( inString ) {}

    void Run() const
    {
        for ( unsigned i = 0; i < kRepetitions; ++i )
        {
            const XString copy( itsString );
            XAssert( copy == kMary );
            XString assigned;
            assigned = copy;
            XAssert( assigned == itsString );
        }
    }

private:
    XString itsString;
};

/// Changes copies of the string in every way, and never finds the original changed.
class XStringMutator
{
public:
    explicit XStringMutator( const XString& inString ) : itsString( inString ) {}

    void Run() const
    {
        for ( unsigned i = 0; i < kRepetitions; ++i )
        {
            XString copy( itsString );
            copy[0] = 'H';
            XAssert( copy.EndsWith( "ary had a little lamb..." ) && copy != itsString );
            copy = itsString;
            copy += kFleece;
            XAssert( copy.GetLength() == itsString.GetLength() + XString( kFleece ).GetLength() );
            copy = itsString;
            copy.Upper();
            copy = kFleece;
            XAssert( itsString == kMary && copy == kFleece );
        }
    }

private:
    XString itsString;
};

/// A thread that keeps what its body throws until it is joined.
class XCheckThread
{
public:
    template<class TBody>
    explicit XCheckThread( TBody inBody )
        : itsThread(
              [this, body = std::move( inBody )]
              {
                  try
                  {
                      body.Run();
                  }
                  catch ( ... )
                  {
                      itsFailure = std::current_exception();
                  }
              } )
    {
    }

    void Join() { itsThread.join(); }
    std::exception_ptr GetFailure() const { return itsFailure; }

private:
    std::exception_ptr itsFailure;
    std::thread itsThread;
};
} // namespace

void XString::TestStorageThreadSafety()
{
    const XString original( kMary );
    XVector<std::unique_ptr<XCheckThread>> threads;
    for ( unsigned i = 0; i < kThreadsOfAKind; ++i )
    {
        threads.push_back( std::make_unique<XCheckThread>( XStringReader( original ) ) );
        threads.push_back( std::make_unique<XCheckThread>( XStringMutator( original ) ) );
    }
    for ( const auto& thread : threads )
        thread->Join();
    for ( const auto& thread : threads )
        if ( thread->GetFailure() )
            std::rethrow_exception( thread->GetFailure() );
    XAssert( original == kMary );
}
