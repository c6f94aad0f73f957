// kgrqt: plotting and mapping widgets. Classes and engine functions: this
// header includes the header of every class and the engine header.
#ifndef KGRQT_H
#define KGRQT_H

#include "KGR.h"
#include "KGRAxes.h"
#include "KGRConfigure.h"
#include "KGRGrid.h"
#include "KGRLayer.h"
#include "KGRLogo.h"
#include "KGRMap.h"
#include "KGRMapData.h"
#include "KGRMapEvents.h"
#include "KGRPicker.h"
#include "KGRPolyline.h"
#include "KGRPolypoint.h"
#include "KGRTaskbar.h"
#include "KGRText.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#endif
