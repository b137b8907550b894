#pragma once

#include "Ground/XTypes.h"

#include <string_view>

/// English names in the text forms of times. Internal to the library.
inline constexpr std::string_view kMonthNames[12] = { "January",   "February", "March",    "April",
                                                      "May",       "June",     "July",     "August",
                                                      "September", "October",  "November", "December" };
inline constexpr std::string_view kWeekdayNames[7] = { "Monday", "Tuesday",  "Wednesday", "Thursday",
                                                       "Friday", "Saturday", "Sunday" };
inline constexpr std::size_t kShortNameLength = 3;

/// Parses the texts described at the constructor of XTime from a date text and a time text. Returns the count
/// of microseconds; throws 1007.
std::int64_t XParseTimeText( std::string_view inDateText, std::string_view inTimeText );

/// The count of microseconds for `inDays` days from 1904 and a time of day, which may lie slightly outside
/// the day. Throws 1007 if the sum does not fit in 64 bits.
std::int64_t XJoinDayAndTime( std::int64_t inDays, std::int64_t inMicroSeconds );
