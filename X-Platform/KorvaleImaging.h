#pragma once

/// Includes every public header of the imaging library, by room. Korvale.h includes those of the core
/// library.

// Wrappers of the operating system used by the interfaces below
#include "Drawing/WCanvas.h"
#include "Images/WImageFile.h"

// Axes and bins
#include "Drawing/XAxisTicks.h"
#include "Drawing/XHistogram.h"
#include "Drawing/XPlotFrame.h"

// Images, their objects, and tables of measurements
#include "Imaging/XAutomaticThreshold.h"
#include "Imaging/XBackgroundAccumulator.h"
#include "Imaging/XChannelFilters.h"
#include "Imaging/XChildObjects.h"
#include "Imaging/XConnectedComponents.h"
#include "Imaging/XContours.h"
#include "Imaging/XDiscMorphology.h"
#include "Imaging/XGaussianFilter.h"
#include "Imaging/XGreyscalePreview.h"
#include "Imaging/XImageReader.h"
#include "Imaging/XImageStructure.h"
#include "Imaging/XLocalThreshold.h"
#include "Imaging/XMaskMorphology.h"
#include "Imaging/XMeasurementMemory.h"
#include "Imaging/XMeasurementTable.h"
#include "Imaging/XMedianFilter.h"
#include "Imaging/XOtsuThreshold.h"
#include "Imaging/XPageMeasurement.h"
#include "Imaging/XPageMemory.h"
#include "Imaging/XPixelMask.h"
#include "Imaging/XSegmentation.h"
#include "Imaging/XSyntheticStack.h"
#include "Imaging/XTIFFWriter.h"

// Figures
#include "Plots/XHistogramPlot.h"
#include "Plots/XLabelPlacement.h"
#include "Plots/XOverlay.h"
#include "Plots/XOverlaySketch.h"
#include "Plots/XPlotData.h"
#include "Plots/XPlotSettings.h"
#include "Plots/XScatterPlot.h"
