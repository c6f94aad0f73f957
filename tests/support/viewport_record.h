// A viewport record filled in by hand, for code that needs only the
// record's geometry and world box, not a widget.
#ifndef KGRQT_TEST_VIEWPORT_RECORD_H
#define KGRQT_TEST_VIEWPORT_RECORD_H

#include "kgrqt.h"

// A w x h viewport at the origin with the given margins and world box.
inline KgrviewportItem viewportRecord(int w, int h, int left, int right, int bottom, int top,
                                      double xleft, double xright, double ybottom, double ytop)
{
    KgrviewportItem vp{};
    vp.w = w;
    vp.h = h;
    vp.header = Kgrheader{0, 0, w, h};
    vp.mleft = left;
    vp.mright = right;
    vp.mbottom = bottom;
    vp.mtop = top;
    vp.xleft = xleft;
    vp.xright = xright;
    vp.ybottom = ybottom;
    vp.ytop = ytop;
    return vp;
}

#endif
