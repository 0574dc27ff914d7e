// How a converter offers a unit of work (a row, a span) to the kernel shims
// before doing it itself.
#ifndef CCONVERT_FRAME_SHIM_PROTOCOL_H
#define CCONVERT_FRAME_SHIM_PROTOCOL_H

#include "cconvert/frame.h"
#include "kvutil.h"

namespace cconvert::detail {

// Offers the unit to the _arm shim, then to the _intel shim. True when one of
// them did it; false when the caller must do it in portable code. Both are
// always tried in that order, whatever the processor.
template <class... Parameters, class... Arguments>
bool offered_to_shims(int (*arm)(Parameters...), int (*intel)(Parameters...),
                      Arguments... arguments) {
    return arm(arguments...) != 0 || intel(arguments...) != 0;
}

// A row copy by the shim protocol: the copy shims, then CopyMemoryFast.
inline void copy_bytes_via_shims(void* destination, const void* source, unsigned int bytes) {
    if (!offered_to_shims(cconvert_copy_bytes_arm, cconvert_copy_bytes_intel, destination,
                          source, bytes))
        CopyMemoryFast(destination, source, bytes);
}

}  // namespace cconvert::detail

#endif
