// ccnvt bars: colour bars in any output format.
#include "bars.h"
#include "commands.h"
#include "errors.h"
#include "files.h"
#include "options.h"

namespace ccnvt {

void run_bars(const BarsOptions& options) {
    const Size size = parse_size(options.size);
    const Format& format = format_named(options.format);
    const Format& v210 = format_named("v210");
    check_size(v210, size.width, size.height);
    check_size(format, size.width, size.height);
    if (options.frames < 1) throw UserError("--frames must be at least 1");
    const auto route = plan_route(v210, format);
    const Frame frame = run_route(make_bars(size.width, size.height), route);
    OutputFile output(options.output);
    for (std::size_t k = 0; k < options.frames; ++k) output.write(frame.data(), frame.size());
    output.commit();
}

}  // namespace ccnvt
