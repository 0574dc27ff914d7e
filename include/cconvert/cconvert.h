/* cconvert: every public declaration of the library. */
#ifndef CCONVERT_H
#define CCONVERT_H

#include "frame.h"
#include "geometry.h"
#include "packed10.h"
#include "planar.h"
#include "ycbcr422.h"

#endif
