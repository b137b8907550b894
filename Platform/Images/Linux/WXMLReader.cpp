#include "Images/WXMLReader.h"

#include <tinyxml2.h>

namespace
{
std::string StripPrefix( const char* inName )
{
    const std::string name( inName );
    return name.substr( name.find( ':' ) + 1 );
}

/// Passes the contents on; stops at an element that is nested too deeply. The library limits the depth too, to a number
/// that depends on its version.
class Walker : public tinyxml2::XMLVisitor
{
public:
    explicit Walker( WXMLVisitor& ioVisitor ) : itsVisitor( ioVisitor ) {}

    bool VisitEnter( const tinyxml2::XMLElement& inElement, const tinyxml2::XMLAttribute* inFirst ) override
    {
        if ( itsDepth == WXMLReader::kMostDepth )
            isTooDeep = true;
        if ( isTooDeep )
            return false;
        WXMLVisitor::Attributes attributes;
        for ( auto* each = inFirst; each; each = each->Next() )
            attributes.push_back( { StripPrefix( each->Name() ), each->Value() } );
        itsVisitor.EnterElement( itsDepth++, StripPrefix( inElement.Name() ), attributes );
        return true;
    }

    bool VisitExit( const tinyxml2::XMLElement& ) override
    {
        --itsDepth;
        return !isTooDeep;
    }

    bool Visit( const tinyxml2::XMLText& inText ) override
    {
        itsVisitor.AddText( itsDepth, inText.Value() );
        return true;
    }

    bool isTooDeep = false;

private:
    WXMLVisitor& itsVisitor;
    std::uint32_t itsDepth = 0;
};

} // namespace

void WXMLReader::Parse( std::string_view inText, WXMLVisitor& ioVisitor )
{
    tinyxml2::XMLDocument document;
    document.Parse( inText.data(), inText.size() );
    Walker walker( ioVisitor );
    walker.isTooDeep = document.ErrorID() == tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED;
    if ( document.Error() && !walker.isTooDeep )
        Refuse( "is damaged at line " + std::to_string( document.ErrorLineNum() ) );
    if ( !walker.isTooDeep )
        document.Accept( &walker );
    if ( walker.isTooDeep )
        Refuse( "is nested too deeply (at most " + std::to_string( kMostDepth ) + " elements)" );
}
