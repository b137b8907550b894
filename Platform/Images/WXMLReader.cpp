#include "Images/WXMLReader.h"

#include "Images/WImageFile.h"

#include <algorithm>

// The limits are checked before a parser of the system sees the text, because such a parser may build a tree of
// all elements (about a hundred bytes for each).

void WXMLReader::Refuse( const std::string& inReason )
{
    throw WImageError( "its XML description " + inReason );
}

void WXMLReader::CheckLimits( std::string_view inText )
{
    const auto marks = static_cast<std::uint64_t>( std::ranges::count( inText, '<' ) );
    if ( marks > kMostMarks )
        Refuse( "has " + std::to_string( marks ) + " tags (at most " + std::to_string( kMostMarks ) + ")" );
    if ( inText.find( "<!DOCTYPE" ) != inText.npos )
        Refuse( "has a document type definition, which is not accepted" );
}

void WXMLReader::Read( std::string_view inText, WXMLVisitor& ioVisitor )
{
    CheckLimits( inText );
    Parse( inText, ioVisitor );
}
