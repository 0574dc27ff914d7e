// ccnvt: converts, generates and inspects frames with the cconvert library.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "errors.h"

int main(int argc, char** argv) {
    CLI::App app{"ccnvt: pixel-format conversions with the cconvert library"};
    app.require_subcommand(1);

    app.add_subcommand("formats", "list the formats the tool reads and writes")->callback(ccnvt::run_formats);

    ccnvt::ConvertOptions convert;
    CLI::App* convert_command = app.add_subcommand("convert", "convert raw frame files between formats");
    convert_command->add_option("input", convert.input, "input file")->required();
    convert_command->add_option("output", convert.output, "output file")->required();
    convert_command->add_option("--from", convert.from, "input format (not for .png inputs)");
    convert_command->add_option("--to", convert.to, "output format (not for .png outputs)");
    convert_command->add_option("--size", convert.size, "frame size, WIDTHxHEIGHT (a PNG's own size)");
    convert_command->add_option("--pitch", convert.pitch, "bytes between input rows (packed formats)");
    convert_command->add_option("--frames", convert.frames, "frames to convert (default: all)");
    convert_command->add_option("--threads", convert.threads, "frames converted at once");
    convert_command->add_flag("-v,--verbose", convert.verbose, "say the chain of conversions");
    convert_command->callback([&] { ccnvt::run_convert(convert); });

    ccnvt::ConvertOptions preview;
    CLI::App* preview_command = app.add_subcommand("preview", "write a PNG of the first frame of a file");
    preview_command->add_option("input", preview.input, "input file")->required();
    preview_command->add_option("output", preview.output, "PNG file")->required();
    preview_command->add_option("--from", preview.from, "input format")->required();
    preview_command->add_option("--size", preview.size, "frame size, WIDTHxHEIGHT")->required();
    preview_command->add_option("--pitch", preview.pitch, "bytes between input rows (packed formats)");
    preview_command->callback([&] { ccnvt::run_preview(preview); });

    ccnvt::BarsOptions bars;
    CLI::App* bars_command = app.add_subcommand("bars", "write 75% colour bars (RP 219 at HD, EBU at SD)");
    bars_command->add_option("output", bars.output, "output file")->required();
    bars_command->add_option("--format", bars.format, "output format")->required();
    bars_command->add_option("--size", bars.size, "frame size, WIDTHxHEIGHT")->required();
    bars_command->add_option("--frames", bars.frames, "frames to write (default 1)");
    bars_command->callback([&] { ccnvt::run_bars(bars); });

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        // One line, as for every other mistake.
        std::fprintf(stderr, "ccnvt: %s\n", error.what());
        return 2;
    } catch (const ccnvt::UserError& error) {
        std::fprintf(stderr, "ccnvt: %s\n", error.what());
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ccnvt: internal error: %s\n", error.what());
        return 3;
    }
    return 0;
}
