#pragma once

#include "Core/Strings/XString.h"
#include "Pivot/Tables/Internal/XPivotTableGroups.h"

#include <optional>

/// Groups the first rows of a column by texts, told apart by where they lie: columns keep equal texts in one storage, so
/// that only one text of each storage is looked at. Groups are those of XGroupPivotTableRows. Nothing where the rows have
/// so many storages that this gains nothing. Internal.
std::optional<XPivotTableGroups> XGroupSharedPivotTexts(
    const XVector<XString>& inTexts, const XVector<std::uint8_t>& inExists, std::uint32_t inRowCount );
