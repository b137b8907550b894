#pragma once

#include "Core/Strings/XString.h"

/// The texts of numbers, as columns show them, if these tell all numbers apart that differ and show none but 0
/// as 0. Else all in the shortest form that reads back exactly. Internal.
XVector<XString> XFormatDistinctNumbers( const XVector<double>& inNumbers );
