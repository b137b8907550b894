#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include <string>

/// A condition on the rows of a table in the users' notation: "COLUMN OP VALUE", with or without blanks
/// around a symbol. A column or a value that contains an operator or quotes, or begins or ends with a blank,
/// must be in double quotes.
class WhereClause
{
public:
    /// Help text on operators.
    static const char* const kHelp;

    /// Throws WrongUsage if the text is malformed.
    explicit WhereClause( const std::string& inText );

    /// Throws WrongUsage for an unknown column, for an operator that does not apply to it, and for a value of
    /// another kind.
    XPivotTableFilter MakeFilter( const XPivotTable& inTable ) const;

private:
    std::string itsColumn;
    XPivotFilterRelationship itsRelationship;
    std::string itsValue;

    XPivotTableFilter MakeNumberFilter( const XPivotColumn& inColumn, std::uint32_t inIndex ) const;
    void CheckOther( const XPivotColumn& inColumn ) const;
};
