// Runs a script of reading operations, taken from the input, over the rest of the input: once in memory and once through
// a buffer of a few bytes. Both must give the same values, positions and error numbers.

#include "Core/Errors/XException.h"
#include "Core/Identifiers/XUUID.h"
#include "Core/Streams/XMemStream.h"
#include "Core/Streams/XStreamVectors.h"
#include "Core/Strings/XString.h"
#include "Startup/WInitCore.h"

#include <cstdlib>
#include <set>
#include <span>
#include <string>

namespace
{
using XInput = std::span<const std::uint8_t>;

/// Reads an input through a small buffer, as a file would be.
class XSmallBufferStream : public XStream
{
public:
    XSmallBufferStream( XInput inInput, USize64 inBufferSize )
        : XStream( inBufferSize, true, true ), itsInput( inInput )
    {
    }

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override
    {
        const USize64 position = static_cast<USize64>( inPosition );
        if ( position > itsInput.size() || count > itsInput.size() - position )
            throw XException( 1260 );
        std::memcpy( buffer, itsInput.data() + position, count );
    }
    void DrainBuffer( SSize64, const void*, USize64 ) override { std::abort(); }
    SSize64 GetExtentSelf() override { return static_cast<SSize64>( itsInput.size() ); }
    void SetExtentSelf( SSize64 ) override { std::abort(); }

private:
    XInput itsInput;
};

template<class T>
void Append( std::string& ioLog, const T& inValue )
{
    ioLog.append( reinterpret_cast<const char*>( &inValue ), sizeof inValue );
}

void Append( std::string& ioLog, const XString& inString )
{
    ioLog += inString.GetStringView();
}

template<class T>
void Append( std::string& ioLog, const XVector<T>& inVector )
{
    for ( const T& element : inVector )
        Append( ioLog, element );
}

template<class T>
XVector<T> ReadVector( XStream& ioStream )
{
    XVector<T> vector;
    XReadVector( ioStream, vector );
    return vector;
}

void ReadNext( XStream& ioStream, std::uint8_t inOperation, std::string& ioLog )
{
    switch ( inOperation % 20 )
    {
    case 0:
        return Append( ioLog, ioStream.Read8S() );
    case 1:
        return Append( ioLog, ioStream.Read16S() );
    case 2:
        return Append( ioLog, ioStream.Read32() );
    case 3:
        return Append( ioLog, ioStream.Read64() );
    case 4:
        return Append( ioLog, ioStream.ReadFloat64S() );
    case 5:
        return Append( ioLog, ioStream.Peek64() );
    case 6:
        return Append( ioLog, ioStream.ReadUUID().GetHash() );
    case 7:
        return Append( ioLog, ioStream.ReadBool() );
    case 8:
        return Append( ioLog, ioStream.ReadString() );
    case 9:
        return Append( ioLog, ioStream.ReadLine() );
    case 10:
        return Append( ioLog, ioStream.ReadWord() );
    case 11:
        return ioStream.SkipNewlines();
    case 12:
        return Append( ioLog, ioStream.FindString( "ab" ) );
    case 13:
        return ioStream.Seek( ioStream.Read16S() );
    case 14:
        return ioStream.SeekTo( ioStream.Read64S() );
    case 15:
        return Append( ioLog, ReadVector<std::uint32_t>( ioStream ) );
    case 16:
        return Append( ioLog, ReadVector<double>( ioStream ) );
    case 17:
        return Append( ioLog, ReadVector<XString>( ioStream ) );
    case 18:
        return ioStream.ReadStreamInfo();
    default:
        return ioStream.SetByteOrder( ioStream.GetByteOrder() == kIntelOrder ? kMotorolaOrder : kIntelOrder );
    }
}

/// What each operation read, where it ended and how it failed.
std::string Run( XStream& ioStream, XInput inScript )
{
    static const std::set<std::uint32_t> sExpected = { 1005, 1013, 1015, 1260, 1262 };
    std::string log;
    for ( const std::uint8_t operation : inScript )
    {
        try
        {
            ReadNext( ioStream, operation, log );
        }
        catch ( const XException& error )
        {
            if ( !sExpected.contains( error.GetErrorNumber() ) )
                std::abort();
            Append( log, error.GetErrorNumber() );
            return log;
        }
        Append( log, ioStream.GetPosition() );
        Append( log, ioStream.IsAtEOF() );
    }
    return log;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    static const WInitCore sCore;
    if ( inSize < 2 )
        return 0;
    const XInput input( inData, inSize );
    const std::size_t scriptSize = std::min<std::size_t>( inData[0], inSize - 2 );
    const XInput script = input.subspan( 2, scriptSize );
    const XInput contents = input.subspan( 2 + scriptSize );

    XMemStream memory( contents.data(), contents.size() );
    XSmallBufferStream buffered( contents, inData[1] % 40 );
    if ( Run( memory, script ) != Run( buffered, script ) )
        std::abort();
    return 0;
}
