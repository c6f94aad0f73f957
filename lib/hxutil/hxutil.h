// Our utility platform in one include.
#ifndef HXUTIL_H
#define HXUTIL_H

#include "HXConfigure.h"
#include "hx_containers.h"
#include "hx_db.h"
#include "hx_error.h"
#include "hx_eventview.h"
#include "hx_geodesy.h"
#include "hx_mapdata.h"
#include "hx_moment.h"
#include "hx_names.h"
#include "hx_pf.h"
#include "hx_pmtcomp.h"
#include "hx_strings.h"
#include "hx_time.h"
#include "hx_vector.h"

#endif
