#include "Core/Identifiers/XStrategyAbstract.h"

XStrategyAbstract::~XStrategyAbstract() = default;
