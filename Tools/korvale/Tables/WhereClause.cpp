#include "Tables/WhereClause.h"

#include "Core/Errors/XException.h"
#include "Core/Identifiers/XUUID.h"
#include "Core/Strings/XNumberText.h"
#include "Core/Times/XTime.h"
#include "Pivot/XPivotText.h"
#include "Support/InQuotes.h"
#include "Support/ListParser.h"
#include "Support/WrongUsage.h"
#include "Tables/ColumnKind.h"
#include "Tables/ColumnNames.h"

#include <array>
#include <cmath>
#include <limits>

const char* const WhereClause::kHelp =
    "Conditions\n"
    "  COLUMN OP VALUE, as in \"Area >= 12.5\" or \"Name contains control\". OP is\n"
    "    =  !=  <  <=  >  >=  for numbers, texts in natural order (img2 < img10),\n"
    "                         times (2026-03-05 16:07) and identifiers\n"
    "    contains             for texts and identifiers, case-sensitive\n"
    "  Rows whose value is missing never match. Names and values that contain an\n"
    "  operator are put in double quotes.\n";

namespace
{
struct Operator
{
    const char* text;
    XPivotFilterRelationship relationship;
};

/// Longer ones before those that they begin with.
constexpr std::array kOperators{
    Operator{ "!=", kFilterNotEqual },       Operator{ "<=", kFilterLessOrEqual },
    Operator{ ">=", kFilterGreaterOrEqual }, Operator{ "==", kFilterEqual },
    Operator{ "=", kFilterEqual },           Operator{ "<", kFilterLess },
    Operator{ ">", kFilterGreater },         Operator{ " contains ", kFilterContains } };

/// Which operator begins there; null when none does.
const Operator* FindOperator( std::string_view inText )
{
    for ( const auto& each : kOperators )
        if ( inText.starts_with( each.text ) )
            return &each;
    return nullptr;
}

/// An integer column truncates references and clamps them to its range: "n < 2.5" would become "n < 2". Such
/// references are rounded here so that the condition selects the same integers as with exact arithmetic
/// ("n <= 2"), or replaced by a filter that selects all rows with a value, or none.
template<class T>
XPivotTableFilter
MakeWholeNumberFilter( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference )
{
    constexpr double least = std::numeric_limits<T>::min(), most = std::numeric_limits<T>::max();
    const auto isInRange = inReference >= least && inReference <= most;
    if ( std::isnan( inReference ) || ( isInRange && std::trunc( inReference ) == inReference ) )
        return XPivotTableFilter( inColumn, inRelationship, inReference );

    // A disjunction without terms is false for every row.
    const auto none = XPivotTableFilter::AnyOf( {} );
    // Rows without a value do not match, as everywhere.
    const XPivotTableFilter all( inColumn, kFilterGreaterOrEqual, least );
    switch ( inRelationship )
    {
    case kFilterNotEqual:
        return all;
    case kFilterLess:
    case kFilterLessOrEqual:
        if ( !isInRange )
            return inReference < least ? none : all;
        return XPivotTableFilter( inColumn, kFilterLessOrEqual, std::floor( inReference ) );
    case kFilterGreater:
    case kFilterGreaterOrEqual:
        if ( !isInRange )
            return inReference < least ? all : none;
        return XPivotTableFilter( inColumn, kFilterGreaterOrEqual, std::ceil( inReference ) );
    default:
        return none;
    }
}

/// True if `inRead` accepts the value.
template<class TRead>
bool IsValue( const XString& inValue, TRead inRead )
{
    try
    {
        inRead( inValue );
        return true;
    }
    catch ( const XException& )
    {
        return false;
    }
}

[[noreturn]] void RefuseContains( const XPivotColumn& inColumn, const std::string& inContents )
{
    throw WrongUsage(
        "column " + InQuotes( GetColumnName( inColumn ) ) + " holds " + inContents +
        ": contains applies only to text and identifiers" );
}

[[noreturn]] void
RefuseValue( const XPivotColumn& inColumn, const std::string& inValue, const std::string& inExpected )
{
    throw WrongUsage(
        "invalid value " + InQuotes( inValue ) + " for column " + InQuotes( GetColumnName( inColumn ) ) +
        " (expected " + inExpected + ")" );
}
} // namespace

WhereClause::WhereClause( const std::string& inText )
{
    const auto text = TrimSpaces( inText );
    auto place = FindQuotedEnd( text );
    const Operator* found = nullptr;
    while ( place < text.size() && !( found = FindOperator( text.substr( place ) ) ) )
        ++place;
    if ( !found )
        throw WrongUsage( "invalid condition " + inText + " (expected COLUMN OP VALUE)" );

    itsRelationship = found->relationship;
    itsColumn = Unquote( text.substr( 0, place ) );
    const auto value = TrimSpaces( text.substr( place + std::string_view( found->text ).size() ) );
    if ( itsColumn.empty() || value.empty() )
        throw WrongUsage( "incomplete condition " + inText + " (expected COLUMN OP VALUE)" );
    itsValue = Unquote( value );
}

XPivotTableFilter WhereClause::MakeFilter( const XPivotTable& inTable ) const
{
    const auto index = FindColumnByName( inTable, itsColumn );
    const auto& column = inTable.GetColumn( index );
    if ( HoldsNumbers( column ) )
        return MakeNumberFilter( column, index );
    CheckOther( column );
    return XPivotTableFilter( index, itsRelationship, XPivotText::FromUTF8( itsValue ) );
}

XPivotTableFilter WhereClause::MakeNumberFilter( const XPivotColumn& inColumn, std::uint32_t inIndex ) const
{
    if ( itsRelationship == kFilterContains )
        RefuseContains( inColumn, "numbers" );
    const auto number = XParseNumber<double>( itsValue );
    if ( !number )
        RefuseValue( inColumn, itsValue, "a number" );
    switch ( GetColumnKind( inColumn ) )
    {
    case ColumnKind::kSInt32:
        return MakeWholeNumberFilter<std::int32_t>( inIndex, itsRelationship, *number );
    case ColumnKind::kUInt32:
        return MakeWholeNumberFilter<std::uint32_t>( inIndex, itsRelationship, *number );
    default:
        return XPivotTableFilter( inIndex, itsRelationship, *number );
    }
}

/// That operator and value fit a column that does not hold numbers.
void WhereClause::CheckOther( const XPivotColumn& inColumn ) const
{
    const auto kind = GetColumnKind( inColumn );
    const auto value = XPivotText::FromUTF8( itsValue );
    const auto isContains = itsRelationship == kFilterContains;
    if ( kind == ColumnKind::kNothing )
        throw WrongUsage( "column " + InQuotes( GetColumnName( inColumn ) ) + " holds no values" );
    if ( kind == ColumnKind::kTime && isContains )
        RefuseContains( inColumn, "times" );
    if ( kind == ColumnKind::kTime &&
         !IsValue( value, []( const auto& inText ) { XTime( inText, XString() ); } ) )
        RefuseValue( inColumn, itsValue, "a time, e.g. 2026-03-05 16:07" );
    if ( kind == ColumnKind::kIdentifier && !isContains &&
         !IsValue( value, []( const auto& inText ) { XUUID{ inText }; } ) )
        RefuseValue( inColumn, itsValue, "a UUID" );
}
