#include "Plots/XPlotSettings.h"

XPlotDescription XDescribePlot( const XPlotData& inData, const XPlotSettings& inSettings )
{
    XPlotDescription description;
    description.title = inSettings.title;
    description.note = "n = " + std::to_string( inData.groupOfRow.size() );
    if ( !inSettings.groupTitle )
        return description;
    description.legendTitle = *inSettings.groupTitle;
    for ( const auto& group : inData.groups )
        description.legend.push_back(
            { group.name + " (" + std::to_string( group.count ) + ")", group.colour } );
    return description;
}
