#pragma once

#include "Core/Streams/XStream.h"
#include "Core/Strings/XString.h"
#include "Jobs/XProgress.h"
#include "Tables/RowReferenceChecker.h"

#include <ostream>
#include <string>
#include <vector>

/// Walks the stream of a stored table field by field and prints where each lies. It checks what the reader checks, but
/// where the reader only refuses, the walk says what is wrong and at which offset.
class StructureWalk
{
public:
    /// The stream is at its start, its header not yet read.
    StructureWalk( XStream& ioStream, std::ostream& ioOut ) : itsStream( ioStream ), itsOut( ioOut ) {}

    /// Returns what is wrong, and where, or an empty text for a sound table. Throws only what the stream throws when
    /// the file itself cannot be read.
    std::string Walk();

private:
    struct Damage
    {
        std::string text;
    };
    struct Descriptor;

    XStream& itsStream;
    std::ostream& itsOut;
    bool itsIsPrinting = false;
    bool itsIsOld = false; ///< Versions in front of fields may be missing.
    std::size_t itsDepth = 0;
    std::vector<SSize64> itsLengths; ///< Of the objects, as they begin; -1 for one that is not complete.
    std::size_t itsObject = 0;       ///< The number of the next object.
    SSize64 itsFieldOffset = 0;
    std::string itsField; ///< What is being read.
    XProgress itsProgress{
        1, XProgress::kProgressWait }; ///< For the abort; the printing itself shows how far it is.

    std::string WalkOnce();
    void WalkFile();
    void WalkHeader();
    void WalkTable();
    void WalkColumn( std::uint32_t inColumn, std::int64_t& ioRows );
    std::int64_t WalkKnownColumn( std::int64_t inRows, SSize64& outRowsOffset );
    std::int64_t WalkOpaqueColumn( SSize64 inEnd, SSize64& outRowsOffset );
    void WalkColumnBase( XVector<std::uint8_t>& outExists );
    void WalkDescriptor();
    void
    WalkUnknownColumn( const XVector<std::uint8_t>& inExists, std::int64_t inRows, std::int64_t& outRows );
    void WalkReferences( RowReferenceChecker& ioReferences );
    void WalkReference( RowReferenceChecker& ioReferences );
    void WalkValues(
        std::uint32_t inClass, const XVector<std::uint8_t>& inExists, RowReferenceChecker& ioReferences );
    void WalkRun(
        std::uint32_t inClass, const XVector<std::uint8_t>& inExists, RowReferenceChecker& ioReferences,
        std::size_t& ioRow );
    void SkipValues( std::uint32_t inClass, std::uint32_t inCount );

    void Begin( std::string inField );
    void Print( const std::string& inText );
    void PrintLine( SSize64 inOffset, const std::string& inLength, const std::string& inText );
    [[noreturn]] void Refuse( const std::string& inText ) const;

    XVersion ReadEnvelope( XVersion inBase );
    std::size_t BeginObject( XVersion inVersion );
    void EndObject( std::size_t inObject );
    void ReadVersion( XVersion inExpected );
    std::uint32_t ReadNumber( const char* inField );
    XString ReadText( const char* inField );
    std::string ReadValueText( std::uint32_t inClass );
};
