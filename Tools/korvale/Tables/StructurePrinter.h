#pragma once

#include "Core/Streams/XStream.h"
#include "Core/Streams/XStreamObserver.h"
#include "Jobs/XProgress.h"

#include <map>
#include <ostream>
#include <string>
#include <vector>

/// Prints the fields of a stored table as its reader reports them: each object and field with offset and
/// length.
class StructurePrinter : private XStreamObserver
{
public:
    /// The stream must be at its start, with its header not yet read. The printer observes it during its
    /// lifetime.
    StructurePrinter( XStream& ioStream, std::ostream& ioOut );
    ~StructurePrinter() override;
    StructurePrinter( const StructurePrinter& ) = delete;
    StructurePrinter& operator=( const StructurePrinter& ) = delete;

    /// Returns the damage and its position; empty for an intact table. Throws only errors of the stream if
    /// the file itself cannot be read.
    std::string Print();

private:
    XStream& itsStream;
    std::ostream& itsOut;
    bool itsIsPrinting = false;
    std::vector<SSize64>
        itsObjectLengths; // in the order in which the objects begin; -1 for an unfinished one
    std::size_t itsNextObject = 0;
    std::vector<std::pair<std::size_t, SSize64>> itsOpenObjects; // numbers and offsets of objects being read
    std::string itsField;                                        // the field being read
    SSize64 itsFieldOffset = 0;
    SSize64 itsFaultOffset = 0;                     // of the part of the field being read
    std::map<std::string, SSize64> itsFieldOffsets; // the last offset for each name
    std::string itsReason;                          // the reason why the reader rejects the table
    XProgress itsProgress{
        1, XProgress::kProgressWait }; // for the abort; the printing itself shows how far it is

    void BeginField( SSize64 inPosition, const std::string& inName ) override;
    void BeginPart( SSize64 inPosition ) override { itsFaultOffset = inPosition; }
    void EndField( SSize64 inEnd, const std::string& inText ) override;
    void BeginObject( SSize64 inPosition, XVersion inVersion ) override;
    void EndObject( SSize64 inEnd ) override;
    void ReturnToField( const std::string& inName ) override { itsFaultOffset = itsFieldOffsets[inName]; }
    void Refuse( const std::string& inReason ) override { itsReason = inReason; }

    std::string Read();
    void PrintLine( SSize64 inOffset, const std::string& inLength, const std::string& inText );
};
