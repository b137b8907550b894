#include "Measuring/ChannelNames.h"

#include "Images/WImageFile.h"
#include "Support/InQuotes.h"

namespace
{
/// Such as C1 to C3, DAPI, GFP.
std::string ListChannels( const XImageSeries& inSeries )
{
    auto text =
        inSeries.channels == 1 ? std::string( "C1" ) : "C1 to C" + std::to_string( inSeries.channels );
    for ( const auto& name : inSeries.channelNames )
        if ( !name.empty() )
            text += ", " + name;
    return text;
}
} // namespace

XMeasureSettings ChannelNames::Apply( const XMeasureSettings& inSettings, const XImageSeries& inSeries ) const
{
    const auto find = [&]( const std::string& inName, std::uint32_t inNumber )
    {
        if ( inName.empty() )
            return inNumber;
        const auto found = inSeries.FindChannel( inName );
        if ( !found )
            throw WImageError(
                "it has no channel " + InQuotes( inName ) + " (expected " + ListChannels( inSeries ) + ")" );
        return *found;
    };
    auto settings = inSettings;
    settings.objects.channel = find( objects, settings.objects.channel );
    if ( settings.children )
        settings.children->channel = find( children, settings.children->channel );
    return settings;
}
