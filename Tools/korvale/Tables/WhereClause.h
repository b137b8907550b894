#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include <string>

/// A condition on the rows of a table as users write it: "COLUMN OP VALUE", with or without blanks around a symbol. A
/// column or a value that holds an operator or quotes, or begins or ends with a blank, stands in double quotes.
class WhereClause
{
public:
    /// The operators, for people to read.
    static const char* const kHelp;

    /// Throws WrongUsage when the text is of another form.
    explicit WhereClause( const std::string& inText );

    /// Throws WrongUsage for a column that is not there, an operator that does not fit it, and a value that is none of
    /// its kind.
    XPivotTableFilter MakeFilter( const XPivotTable& inTable ) const;

private:
    std::string itsColumn;
    XPivotFilterRelationship itsRelationship;
    std::string itsValue;

    XPivotTableFilter MakeNumberFilter( const XPivotColumn& inColumn, std::uint32_t inIndex ) const;
    void CheckOther( const XPivotColumn& inColumn ) const;
};
