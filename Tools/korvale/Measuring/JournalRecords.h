#pragma once

#include "Measuring/SharedFile.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

class MeasurePageResult;
class WFile;
class XMemStream;
class XStream;

/// The stored form of a journal (MeasureJournal): a header with what the results depend on, then records of images and of
/// their finished pages. A journal is read as bytes of unknown origin.
namespace JournalRecords
{
/// One of the things that the results depend on.
struct Condition
{
    std::string name; ///< for messages
    std::string value;

    bool operator==( const Condition& ) const = default;
};
using Conditions = std::vector<Condition>;

/// The files that an image is read from.
using Files = std::vector<SharedFile>;

/// The place of a page's record.
struct Place
{
    std::uint64_t position = 0;   ///< of the contents, without length and checksum
    std::uint64_t size = 0;       ///< of the contents
    std::uint64_t checksum = 0;   ///< of the contents
    std::uint64_t background = 0; ///< checksum of the background that was subtracted; 0 without
};

struct Image
{
    Files files;
    std::map<std::uint32_t, Place> pages; ///< the latest record of each
};

/// A journal without the results.
struct Contents
{
    std::map<std::uint64_t, Image> images; ///< by their keys, see WriteImage
    std::uint64_t end = 0;                 ///< of the intact part; 0 if not even the header is complete
};

/// What precedes the result in the record of a page.
struct PageKey
{
    std::uint64_t image = 0; ///< see WriteImage
    std::uint32_t page = 0;  ///< counted from 0
    std::uint64_t background = 0;
};

/// Larger contents of a record are refused.
constexpr std::uint64_t kMostBytes = std::uint64_t{ 1 } << 30;

/// The bytes before the contents of a record.
constexpr std::uint64_t kPrefixSize = 2 * sizeof( std::uint64_t );

/// An empty stream with the byte order of journals.
std::unique_ptr<XMemStream> MakeStream();

void WriteHeader( XStream& ioStream, const Conditions& inConditions );

/// Appends the record of an image and returns its key, by which the records of its pages refer to it: the checksum of its
/// contents. So pages belong to their image wherever they are, even if two runs wrote to one journal.
std::uint64_t WriteImage( XMemStream& ioStream, const Files& inFiles );

/// Appends the record of a page.
void WritePage( XMemStream& ioStream, const PageKey& inKey, const MeasurePageResult& inResult );

/// Reads a journal up to its end or the first record that is torn or damaged, within an XProgress (1001). Throws
/// runtime_error if it is not a journal, or one with other conditions, and the errors of the stream.
Contents Read( XStream& ioStream, const Conditions& inConditions );

/// Returns the result of the record at that place. Throws 1005 if it is not the one that was found there, and the errors of
/// reading the file.
std::unique_ptr<MeasurePageResult> ReadPage( const WFile& inFile, const Place& inPlace );
} // namespace JournalRecords
