#pragma once

#include "Core/Strings/XString.h"
#include "Pivot/Tables/Internal/XPivotTableGroups.h"

#include <optional>

/// Groups the first rows of a column by text, using the addresses of text storages: equal texts of a column
/// usually share one storage, so only one text per storage is compared. The groups are those of
/// XGroupPivotTableRows. No value if there are too many storages for this to be faster. Internal.
std::optional<XPivotTableGroups> XGroupSharedPivotTexts(
    const XVector<XString>& inTexts, const XVector<std::uint8_t>& inExists, std::uint32_t inRowCount );
