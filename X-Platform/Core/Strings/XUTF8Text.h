#pragma once

#include "WPlatform.h"

#include <functional>
#include <string>
#include <string_view>

/// The characters of a UTF-8 text: its code points.
KORVALE_API std::size_t CountCharacters( std::string_view inText );

/// The text itself if it is no wider than that, else as much of its beginning and its end as there is room for, with an
/// ellipsis in between: names of files often differ at their ends. UTF-8.
KORVALE_API std::string ElideText(
    const std::string& inText, double inMostWidth,
    const std::function<double( const std::string& )>& inMeasure );
