#pragma once

#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/XImageReader.h"
#include "Plots/XOverlaySketch.h"

#include <string>

class XStream;

/// The stored form of page measurements and of what they are made from, for jobs on other machines.
///
/// Errors: reading throws 1005 for values that no page gives (the values read may be drawn and put into tables without
/// further checks), 1260 at the end of the stream.
namespace MeasurementStream
{
void WriteText( XStream& ioStream, const std::string& inText );
std::string ReadText( XStream& ioStream );

void WriteSettings( XStream& ioStream, const XMeasureSettings& inSettings );
XMeasureSettings ReadSettings( XStream& ioStream );

void WriteReadSettings( XStream& ioStream, const XImageReadSettings& inSettings );
XImageReadSettings ReadReadSettings( XStream& ioStream );

void WritePage( XStream& ioStream, const WImagePage& inPage );
/// Allocates the samples if the bytes of the stream can result in as many. `inIsPacked` is false for pages of an older
/// format, whose samples were never compressed.
WImagePage ReadPage( XStream& ioStream, const WImagePage::Allocator& inAllocator, bool inIsPacked = true );

/// The measurement must not have been released.
void WriteMeasurement( XStream& ioStream, const XPageMeasurement& inMeasurement );
XPageMeasurement ReadMeasurement( XStream& ioStream );

void WriteSketch( XStream& ioStream, const XOverlaySketch& inSketch );
/// The sketch has the objects of the measurement.
XOverlaySketch ReadSketch( XStream& ioStream, const XPageMeasurement& inMeasurement );
} // namespace MeasurementStream
