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
#include "Imaging/Filters/XChannelFilters.h"
#include "Imaging/Filters/XDiscMorphology.h"
#include "Imaging/Filters/XGaussianFilter.h"
#include "Imaging/Filters/XMedianFilter.h"
#include "Imaging/Measurements/XMeasurementMemory.h"
#include "Imaging/Measurements/XMeasurementTable.h"
#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/Measurements/XShapeMeasurement.h"
#include "Imaging/Objects/XChildObjects.h"
#include "Imaging/Objects/XConnectedComponents.h"
#include "Imaging/Objects/XContours.h"
#include "Imaging/Objects/XDistanceTransform.h"
#include "Imaging/Objects/XGivenObjects.h"
#include "Imaging/Objects/XLabelImage.h"
#include "Imaging/Objects/XLabelledObjects.h"
#include "Imaging/Objects/XMaskMorphology.h"
#include "Imaging/Objects/XObjectSplitting.h"
#include "Imaging/Objects/XSegmentation.h"
#include "Imaging/Pages/XBackgroundAccumulator.h"
#include "Imaging/Pages/XGreyscalePreview.h"
#include "Imaging/Pages/XPageMemory.h"
#include "Imaging/Thresholds/XAutomaticThreshold.h"
#include "Imaging/Thresholds/XLocalThreshold.h"
#include "Imaging/Thresholds/XOtsuThreshold.h"
#include "Imaging/Thresholds/XPixelMask.h"
#include "Imaging/Writing/XSyntheticStack.h"
#include "Imaging/Writing/XTIFFWriter.h"
#include "Imaging/XImageFinder.h"
#include "Imaging/XImageReader.h"
#include "Imaging/XImageStructure.h"
#include "Imaging/XPathGroups.h"

// Figures
#include "Plots/XHistogramPlot.h"
#include "Plots/XLabelPlacement.h"
#include "Plots/XOverlay.h"
#include "Plots/XOverlaySketch.h"
#include "Plots/XPlotData.h"
#include "Plots/XPlotSettings.h"
#include "Plots/XScatterPlot.h"
