#pragma once

#include "Testing.h"
