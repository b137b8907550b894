#pragma once

#include "Tables/WhereClause.h"

#include <string>
#include <vector>

class CommandOption;
class CommandOptions;

/// The repeatable option --where and its conditions.
class RowConditions
{
public:
    /// Help text on conditions.
    static const char* GetHelp() { return WhereClause::kHelp; }

    void Declare( const CommandOptions& inOptions );
    /// Also adds --any, which keeps the rows that match any one of the conditions.
    void DeclareWithAny( const CommandOptions& inOptions );

    /// Throws WrongUsage if a condition is malformed.
    void Check() const;

    /// Removes the rows that do not match. Throws the errors of WhereClause.
    void FilterRows( XPivotTable& ioTable ) const;

private:
    std::vector<std::string> itsConditions;
    bool itsIsAny = false;

    CommandOption DeclareWhere( const CommandOptions& inOptions );
};
