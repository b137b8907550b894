#include "Core/XStrategyAbstract.h"

XStrategyAbstract::~XStrategyAbstract() = default;
