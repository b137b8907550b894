#pragma once

#include <string>
#include <string_view>

/// A text in UTF-8 as a string of JSON, with its quotes. Bytes that are not UTF-8 become U+FFFD.
std::string QuoteJSON( std::string_view inText );
