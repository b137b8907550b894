#pragma once

#include "Core/Storables/XClassNumbers.h"

/// The numbers of the program's storable classes, which are never reused.
enum ClassNumber : std::uint32_t
{
    kClassMeasurePageJob = kFirstApplicationClassNumber + 1,
    kClassMeasurePageResult = kFirstApplicationClassNumber + 2,
    kClassMeasureJournal = kFirstApplicationClassNumber + 3, // of a file, not of an object
};
