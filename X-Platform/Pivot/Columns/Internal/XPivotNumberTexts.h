#pragma once

#include "Core/Strings/XString.h"

/// The texts of numbers as shown in columns, if different numbers have different texts and only 0 is shown as
/// 0. Otherwise all numbers in the shortest form that reads back exactly. Internal.
XVector<XString> XFormatDistinctNumbers( const XVector<double>& inNumbers );
