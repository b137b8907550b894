#pragma once

#include "Tables/WhereClause.h"

#include <string>
#include <vector>

class CommandOption;
class CommandOptions;

/// The option --where, given as often as one likes, and what it stands for.
class RowConditions
{
public:
    /// Explains the conditions that users write.
    static const char* GetHelp() { return WhereClause::kHelp; }

    void Declare( const CommandOptions& inOptions );
    /// Adds --any too: the rows that pass one of the conditions.
    void DeclareWithAny( const CommandOptions& inOptions );

    /// Throws WrongUsage when a condition is not of their form.
    void Check() const;

    /// Removes the rows that do not pass. Throws what WhereClause throws.
    void FilterRows( XPivotTable& ioTable ) const;

private:
    std::vector<std::string> itsConditions;
    bool itsIsAny = false;

    CommandOption DeclareWhere( const CommandOptions& inOptions );
};
