// Great circles on the unit sphere. Angles are radians.
#ifndef HX_GEODESY_H
#define HX_GEODESY_H

// Distance del (0..pi) and azimuth az (clockwise from north, -pi..pi) from
// point 1 to point 2. Coincident points give del = 0 and az = 0.
void dist(double lat1, double lon1, double lat2, double lon2, double* del, double* az);

// The point at distance del and azimuth az from point 1. lon2 lies in
// -pi..pi.
void latlon(double lat1, double lon1, double del, double az, double* lat2, double* lon2);

#endif
