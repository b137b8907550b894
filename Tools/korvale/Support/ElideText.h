#pragma once

#include <functional>
#include <string>

/// The text itself if it is no wider than that, else as much of its beginning and its end as there is room for, with an
/// ellipsis in between: names of files often differ at their ends. UTF-8.
std::string ElideText(
    const std::string& inText, double inMostWidth,
    const std::function<double( const std::string& )>& inMeasure );
