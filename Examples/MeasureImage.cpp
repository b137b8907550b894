// Finds and measures the objects of every page of an image: measure_image IMAGE TABLE OVERLAY.png
#include <Korvale.h>
#include <KorvaleImaging.h>

#include <fstream>
#include <iostream>

int main( int inCount, char** inArguments )
try
{
    if ( inCount != 4 )
        throw std::runtime_error( "usage: measure_image IMAGE TABLE OVERLAY.png" );
    WInitCore core;
    XMeasureSettings settings; // Otsu's threshold on the first channel of each page
    settings.leastPixels = 20;
    std::vector<XImageMeasurement> images( 1 );
    images[0].name = inArguments[1];
    XImageReader reader( inArguments[1] );
    for ( std::uint32_t number = 0; number < reader.GetPageCount(); ++number )
    {
        const auto page = reader.ReadPage( number );
        const auto objects = XFindPageObjects( page, settings );
        images[0].pages.push_back( XMeasureObjects( page, objects ) );
        if ( number == 0 )
            std::ofstream( inArguments[3], std::ios::binary )
                << XDrawOverlay( XSketchOverlay( page, settings, objects ) );
    }
    const auto table = XMakeMeasurementTable( images, settings );
    XFileStream file( inArguments[2], WFile::kCreate );
    file.WriteStreamInfo();
    file.WriteObject( table );
    file.Close();
    std::cout << table.GetNumRows() << " objects on " << reader.GetPageCount() << " pages\n";
}
catch ( const std::exception& error )
{
    std::cerr << error.what() << '\n';
    return 1;
}
