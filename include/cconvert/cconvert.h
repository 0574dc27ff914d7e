/* cconvert: every public declaration of the library. */
#ifndef CCONVERT_H
#define CCONVERT_H

#include "frame.h"
#include "alpha.h"
#include "geometry.h"
#include "rgb.h"
#include "ycbcr422.h"

#endif
