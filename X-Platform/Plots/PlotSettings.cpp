#include "Plots/PlotSettings.h"

PlotDescription DescribePlot( const PlotData& inData, const PlotSettings& inSettings )
{
    PlotDescription description;
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
