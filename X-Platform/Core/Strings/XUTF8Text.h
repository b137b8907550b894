#pragma once

#include "WPlatform.h"

#include <functional>
#include <string>
#include <string_view>

/// The number of characters (code points) of a UTF-8 text.
KORVALE_API std::size_t XCountCharacters( std::string_view inText );

/// Shortens a UTF-8 text to a width: returns the text itself if it fits, otherwise its beginning, an ellipsis
/// and its end, because file names often differ at their ends. `inMeasure` returns the width of a text.
KORVALE_API std::string XElideText(
    const std::string& inText, double inMostWidth,
    const std::function<double( const std::string& )>& inMeasure );
