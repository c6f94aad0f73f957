// Named point vectors shared between an application and its plot items.
//
// A vector is a registry entry under a name holding one or more point sets
// (x, y and optional labels per point) with their extent. Items address a
// set by a handle "name" (set 0) or "name:index". Three kinds exist: plain
// vectors, second-generation vectors (read into the caller's own arrays)
// and time histories (x is epoch time).
#ifndef HX_VECTOR_H
#define HX_VECTOR_H

enum { HXVECTOR_PLAIN = 1, HXVECTOR_SECOND = 2, HXVECTOR_HISTORY = 3 };

// Creates (or empties and replaces) the vector name of the given kind.
// Returns 0, or -1 with a registered error.
int hxvector_create(const char* name, int kind);

// Appends a point set; labels may be null, or hold npts strings (null
// entries allowed). Returns the new set's index, or -1 with an error.
int hxvector_add_points(const char* name, int npts, const double* x, const double* y,
                        const char* const* labels);

// Reads a vector of the given kind from a text file: one point per line,
// "x y [label]" (x may be a time in any form str2epoch reads for a
// history), "#" comments, and a blank line between point sets. Returns the
// number of sets read, or -1 with an error naming the line.
int hxvector_read_file(const char* name, int kind, const char* path);

// hxvector_read_file on text in memory; source names it in messages
// ("text" when null).
int hxvector_read_text(const char* name, int kind, const char* text, const char* source);

// Releases a vector; 0, or -1 when the handle names none.
int hxvector_free(const char* handle);

// The kind of the vector a handle names, or 0.
int hxvector_kind(const char* handle);

// Extent of the set a handle names; 0, or -1 (empty set or bad handle).
int hxvector_extent(const char* handle, double* xmin, double* xmax, double* ymin, double* ymax);

// The label of point i of a set, or null. The string stays valid until the
// vector is read, created or freed again.
const char* hxvector_get_label(const char* handle, int i);

// Nonzero when a plain vector with that handle exists (set index checked).
int hxvector_get_vector(const char* handle);

// Points of a plain vector's set as newly allocated arrays (the caller
// frees them); *index receives the set index of the handle. 0, or -1 with
// an error.
int hxvector_get_points(const char* handle, int* npts, int* index, double** x, double** y,
                        int flags);

// Nonzero when a second-generation vector with that name exists.
int hxvector2_get_vector(const char* handle);

// Copies set index of a second-generation vector into the caller's arrays,
// growing them (realloc) when *xsize or *ysize is too small. *spare is set
// to 0. 0, or -1 with an error.
int hxvector2_get_points(const char* handle, int index, int* npts, int* spare, double** x,
                         int* xsize, double** y, int* ysize, int flags);

// Points of a time history (set 0) as newly allocated arrays. 0, or -1.
int hxhistory_get_points(const char* handle, int* npts, double** x, double** y);

#endif
