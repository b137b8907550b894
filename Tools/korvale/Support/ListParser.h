#pragma once

#include <string>
#include <string_view>
#include <vector>

// Lists and conditions on the command line. Items that contain special characters are enclosed in double
// quotes, as in CSV; a double quote within them is doubled.

std::string_view TrimSpaces( std::string_view inText );

/// The position after the leading quoted part of the text; 0 if there is none. Throws WrongUsage for a
/// missing closing quote.
std::size_t FindQuotedEnd( std::string_view inText );

/// The text without surrounding blanks and quotes. Throws WrongUsage if there is text after the closing
/// quote.
std::string Unquote( std::string_view inText );

/// Splits a list at commas; items keep their quotes but not surrounding blanks. Throws WrongUsage for an
/// empty item.
std::vector<std::string> SplitList( std::string_view inText );
