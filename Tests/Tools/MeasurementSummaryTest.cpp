#include "Measuring/MeasurementSummary.h"

#include "Imaging/TestPages.h"

#include <sstream>

TEST( MeasurementSummaryTest, ShowsTheMaximumOfNegativeIntensitiesAndThatOfInnerObjects )
{
    XMeasureSettings settings;
    settings.objects.threshold = -10;
    settings.children = { 0, -6, 1 };
    const auto dark = XMeasurePage( MakePage<float>( 4, { -5, -9, -20, -7 } ), settings );
    const auto bright = XMeasurePage( MakePage<float>( 1, { 9 } ), settings );
    std::vector<XImageMeasurement> images{ { "dark", { dark } }, { "bright", { bright } } };
    std::ostringstream out;
    PrintSummary( images, XMakeMeasurementTable( images, settings ), 0, out );
    std::istringstream lines( out.str() );
    std::vector<std::string> maxima;
    for ( std::string line; std::getline( lines, line ); )
        maxima.push_back( line.substr( line.find_last_of( ' ' ) + 1 ) );
    EXPECT_EQ( maxima, ( std::vector<std::string>{ "(C1)", "Max", "-7", "-5", "9", "9", "9", "9" } ) );
}
