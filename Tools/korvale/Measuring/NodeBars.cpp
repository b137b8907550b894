#include "Measuring/NodeBars.h"

#include "Jobs/XProgressChangedMessage.h"

NodeBars::~NodeBars()
{
    for ( const auto& [jobID, bar] : itsBars )
        itsDisplay.RemoveBar( *bar );
}

void NodeBars::Show( const XThreadProgressStrategy::XProgressChangedMessage& inMessage )
{
    using Changed = XThreadProgressStrategy::XProgressChangedMessage;
    constexpr std::uint32_t kIndentOfJobs = 2;
    constexpr double kPerMille = 1000;
    const std::uint32_t job = inMessage.GetJobID();
    if ( inMessage.GetChangeType() == Changed::kBarCreated && itsDisplay.HasNestedBars() )
        itsBars.try_emplace( job, &itsDisplay.AddBar( false, 0, kIndentOfJobs, false ) );
    const auto found = itsBars.find( job );
    if ( found == itsBars.end() )
        return;
    ProgressDisplay::Bar& bar = *found->second;
    switch ( inMessage.GetChangeType() )
    {
    case Changed::kProgressChanged:
        return itsDisplay.SetValue( bar, inMessage.GetValue(), kPerMille );
    case Changed::kMessageChanged:
        return itsDisplay.SetMessage( bar, inMessage.GetText().ToUTF8() );
    case Changed::kBarDestroyed:
        itsDisplay.RemoveBar( bar );
        itsBars.erase( found );
        return;
    default:
        return;
    }
}
