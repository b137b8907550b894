// Times from text: the bytes up to the first line feed are the date, the rest is the time of day. What is understood
// must come back unchanged from every text form that keeps microseconds.

#include "FuzzTools.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XString.h"
#include "Core/Times/XTime.h"

#include <optional>
#include <string_view>

namespace
{
std::optional<XTime> Parse( std::string_view inDateText, std::string_view inTimeText )
{
    try
    {
        return XTime( inDateText, inTimeText );
    }
    catch ( const XException& exception )
    {
        Require( exception.GetErrorNumber() == 1007 );
        return std::nullopt;
    }
}

void CheckRoundTrips( const XTime& inTime )
{
    Require( XTime( inTime.GetAbsoluteTimeString(), "" ) == inTime );
    const XString timeOfDay = inTime.GetTimeString( kDateNone, kTimeMicroSeconds );
    for ( const XDateFormat format : { kDateISO, kDateDayMonthYear, kDateLong, kDateCompact } )
    {
        Require( XTime( inTime.GetTimeString( format, kTimeMicroSeconds ), "" ) == inTime );
        Require( XTime( inTime.GetTimeString( format, kTimeNone ), timeOfDay ) == inTime );
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    const std::string_view text( reinterpret_cast<const char*>( inData ), inSize );
    const std::size_t dateEnd = std::min( text.find( '\n' ), text.size() );
    const std::size_t timeStart = std::min( dateEnd + 1, text.size() );
    if ( const std::optional<XTime> time = Parse( text.substr( 0, dateEnd ), text.substr( timeStart ) ) )
        CheckRoundTrips( *time );
    return 0;
}
