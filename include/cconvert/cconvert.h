/* cconvert: every public declaration of the library. */
#ifndef CCONVERT_H
#define CCONVERT_H

#include "frame.h"
#include "alpha.h"
#include "csputils.h"
#include "geometry.h"
#include "hdr.h"
#include "packed10.h"
#include "planar.h"
#include "rgb.h"
#include "ycbcr422.h"

#endif
