#pragma once

#include "Core/Streams/XStream.h"
#include "Core/Streams/XStreamObserver.h"
#include "Jobs/XProgress.h"

#include <map>
#include <ostream>
#include <string>
#include <vector>

/// Prints what the reader of a stored table reads: each object and field with its offset and length.
class StructurePrinter : private XStreamObserver
{
public:
    /// The stream is at its start, its header not yet read. It is observed as long as the printer lives.
    StructurePrinter( XStream& ioStream, std::ostream& ioOut );
    ~StructurePrinter() override;
    StructurePrinter( const StructurePrinter& ) = delete;
    StructurePrinter& operator=( const StructurePrinter& ) = delete;

    /// Returns what is wrong, and where, or an empty text for a sound table. Throws only what the stream throws when
    /// the file itself cannot be read.
    std::string Print();

private:
    XStream& itsStream;
    std::ostream& itsOut;
    bool itsIsPrinting = false;
    std::vector<SSize64>
        itsObjectLengths; ///< In the order in which the objects begin; -1 for one that does not end.
    std::size_t itsNextObject = 0;
    std::vector<std::pair<std::size_t, SSize64>>
        itsOpenObjects;   ///< Numbers and offsets of those that are being read.
    std::string itsField; ///< What is being read.
    SSize64 itsFieldOffset = 0;
    SSize64 itsFaultOffset = 0;                     ///< Of the part of the field that is being read.
    std::map<std::string, SSize64> itsFieldOffsets; ///< The last of each name.
    std::string itsReason;                          ///< Why the reader refuses the table.
    XProgress itsProgress{
        1, XProgress::kProgressWait }; ///< For the abort; the printing itself shows how far it is.

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
