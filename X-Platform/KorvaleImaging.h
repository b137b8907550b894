#pragma once

/// Every public header of the imaging library, room by room. Korvale.h has those of the core, on which it is built.

// What the interfaces below name of the system
#include "Drawing/WCanvas.h"
#include "Images/WImageFile.h"

// Axes and bins
#include "Drawing/AxisTicks.h"
#include "Drawing/Histogram.h"
#include "Drawing/PlotFrame.h"

// Images, their objects, and tables of what is measured of them
#include "Imaging/BackgroundAccumulator.h"
#include "Imaging/ChildObjects.h"
#include "Imaging/ConnectedComponents.h"
#include "Imaging/Contours.h"
#include "Imaging/GreyscalePreview.h"
#include "Imaging/ImageReader.h"
#include "Imaging/MeasurementMemory.h"
#include "Imaging/MeasurementTable.h"
#include "Imaging/OtsuThreshold.h"
#include "Imaging/PageMeasurement.h"
#include "Imaging/PageMemory.h"
#include "Imaging/PixelMask.h"
#include "Imaging/SyntheticStack.h"
#include "Imaging/TIFFWriter.h"

// Figures
#include "Plots/HistogramPlot.h"
#include "Plots/LabelPlacement.h"
#include "Plots/Overlay.h"
#include "Plots/OverlaySketch.h"
#include "Plots/PlotData.h"
#include "Plots/PlotSettings.h"
#include "Plots/ScatterPlot.h"
