// Seismic moment tensors and the outlines of their focal-mechanism beach
// balls.
//
// The six components are given in the order a database's (r, theta, phi)
// columns fill them: (Mpp, Mtt, Mrr, -Mtp, -Mrp, Mrt), which is
// (xx, yy, zz, xy, xz, yz) in a frame with x east, y north and z down.
// Outlines are drawn on the unit circle, x east and y north, in the
// lower-hemisphere equal-area projection.
#ifndef HX_MOMENT_H
#define HX_MOMENT_H

// A moment tensor with its principal axes, ready for outlines.
struct HXMoment;

// Builds a moment from the six components (flags: 0). 0 and *moment set,
// or -1 with a registered error for zero, NaN or infinite tensors.
int hxmoment_create(int flags, HXMoment** moment, double m1, double m2, double m3, double m4,
                    double m5, double m6);

// Computes the beach ball of a moment and registers its outlines as
// second-generation point vectors (hx_vector.h), writing each vector's
// handle into one of six caller buffers of HXMOMENT_HANDLE_SIZE
// characters (left empty when that outline does not exist):
//   nodal1, nodal2   the two nodal curves (where the radiation changes sign)
//   p1, p2           closed outlines of the compressional regions
//   t_axis, p_axis   one point each: the T and P axes' projections
// The caller frees each non-empty handle with hxvector_free. 0, or -1 with
// a registered error.
int hxmoment_compute_bb(HXMoment* moment, char* nodal1, char* nodal2, char* p1, char* p2,
                        char* t_axis, char* p_axis);

// Releases a moment (null is allowed).
void hxmoment_free_hxmoment(HXMoment* moment);

enum { HXMOMENT_HANDLE_SIZE = 64 };

#endif
