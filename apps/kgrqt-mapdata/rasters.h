// Raster sources turned into grid resolutions.
#ifndef KGRQT_MAPDATA_RASTERS_H
#define KGRQT_MAPDATA_RASTERS_H

#include "hx_mapdata_write.h"

#include <string>
#include <vector>

// A plate carree image (JPEG, PNG, ... through Qt) as RGB grids, coarsest
// first, each level half the size of the next. Empty when unreadable.
std::vector<HXMapDataGridInput> imagePyramid(const std::string& path, int levels);

// An elevation grid in metres (netCDF through GDAL, its variable named in
// GDAL's "NETCDF:file:variable" form) as sample grids (metres x 0.625),
// coarsest first. Empty when unreadable; *error says why.
std::vector<HXMapDataGridInput> reliefPyramid(const std::string& dataset, int levels,
                                              std::string* error);

#endif
