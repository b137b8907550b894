#pragma once

#include <string>
#include <string_view>
#include <vector>

// Lists and conditions on the command line. What holds characters with a meaning stands in double quotes, as in CSV; a
// double quote within them is doubled.

std::string_view TrimSpaces( std::string_view inText );

/// Where the text goes on behind what it begins with in quotes; 0 when it begins without. Throws WrongUsage when a quote
/// lacks its end.
std::size_t FindQuotedEnd( std::string_view inText );

/// The text without the blanks and the quotes around it. Throws WrongUsage when it goes on behind quotes.
std::string Unquote( std::string_view inText );

/// What the commas separate, with its quotes, without the blanks around it. Throws WrongUsage where there is nothing.
std::vector<std::string> SplitList( std::string_view inText );
