#include "StatusPage/StatusFeed.h"

#include "StatusPage/PageFiles.h"
#include "StatusPage/StatusHTML.h"
#include "StatusPage/StatusJSON.h"
#include "StatusPage/StatusMetrics.h"
#include "Threads/XThreadLock.h"

#include <utility>

namespace
{
constexpr std::int64_t kRefreshMS = 500;
constexpr std::string_view kPlaceOfStatus = "<!--STATUS-->";

std::string WriteForm( StatusFeed::Form inForm, const XNetJobStatus& inStatus )
{
    switch ( inForm )
    {
    case StatusFeed::kPage:
    {
        std::string page( PageFiles::kPage );
        return page.replace(
            page.find( kPlaceOfStatus ), kPlaceOfStatus.size(), WriteStatusHTML( inStatus ) );
    }
    case StatusFeed::kEvent:
        return "data: " + WriteStatusHTML( inStatus ) + "\n\n";
    case StatusFeed::kJSON:
        return WriteStatusJSON( inStatus );
    default:
        return WriteStatusMetrics( inStatus );
    }
}
} // namespace

StatusFeed::StatusFeed( std::function<XNetJobStatus()> inGetStatus )
    : itsGetStatus( std::move( inGetStatus ) )
{
}

StatusFeed::Text StatusFeed::Get( Form inForm )
{
    const XThreadLock lock( itsMutex );
    if ( !itsHasStatus || itsTimer.GetElapsedMS() >= kRefreshMS )
        Refresh();
    Written& written = itsWritten[inForm];
    if ( std::exchange( written.isCurrent, true ) )
        return written.text;
    std::string text = WriteForm( inForm, itsStatus );
    if ( !written.text || *written.text != text )
        written.text = Keep( std::move( text ) );
    return written.text;
}

void StatusFeed::Refresh()
{
    itsStatus = itsGetStatus();
    itsTimer.Restart();
    itsHasStatus = true;
    for ( Written& written : itsWritten )
        written.isCurrent = false;
}

StatusFeed::Text StatusFeed::Keep( std::string inText )
{
    std::size_t bytes = 0;
    std::erase_if( itsTexts, []( const auto& inKept ) { return inKept.expired(); } );
    for ( const auto& kept : itsTexts )
        if ( const Text text = kept.lock() )
            bytes += text->size();
    if ( bytes > kMostBytes )
        return nullptr;
    auto text = std::make_shared<const std::string>( std::move( inText ) );
    itsTexts.push_back( text );
    return text;
}
