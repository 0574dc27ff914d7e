// ccnvt bench in a build without the benchmarks.
#include "commands.h"
#include "errors.h"

namespace ccnvt {

void run_bench(const BenchOptions&) {
    throw UserError("this build has no benchmarks (configure with -DCCNVT_BENCH=ON)");
}

}  // namespace ccnvt
