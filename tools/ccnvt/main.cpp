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
    CLI::App* convert_command = app.add_subcommand(
        "convert", "convert raw frame files between formats; .png and .bmp pictures in, .png out");
    convert_command->add_option("input", convert.input, "input file (raw frames, .png, or .bmp with a palette)")
        ->required();
    convert_command->add_option("output", convert.output, "output file (raw frames or .png)")->required();
    convert_command->add_option("--from", convert.from, "input format (not for .png and .bmp inputs)");
    convert_command->add_option("--to", convert.to, "output format (not for .png outputs)");
    convert_command->add_option("--size", convert.size, "frame size, WIDTHxHEIGHT (a picture's own size)");
    convert_command->add_option("--pitch", convert.pitch, "bytes between input rows (packed formats)");
    convert_command->add_option("--frames", convert.frames, "frames to convert (default: all)");
    convert_command->add_option("--threads", convert.threads, "frames converted at once");
    convert_command->add_option("--fields", convert.fields,
                                "split: write each frame as its two fields, rows 0, 2, 4, ... then 1, 3, 5, ...; "
                                "join: read each input frame as two such fields and interleave them");
    convert_command->add_option("--set-alpha", convert.set_alpha, "set the alpha of rgba32 / bgra32 output to N")
        ->check(CLI::Range(0, 255));
    convert_command->add_flag("-v,--verbose", convert.verbose, "say the chain of conversions");
    convert_command->footer(
        "Format words: 'ccnvt formats' lists them all, among them the half-float RGBA outputs rgbaf16,\n"
        "rgbaf16pq and rgbaf16hlg (SDR to HDR), the ST 2084 codings rgb24pq, 2vuypq and v210pq, and key8\n"
        "(a key, one byte a pixel). A .bmp input is a palette picture: 1, 4 or 8 bits, uncompressed, RLE8 or\n"
        "RLE4, checked before it is decoded.");
    convert_command->callback([&] { ccnvt::run_convert(convert); });

    ccnvt::ConvertOptions preview;
    CLI::App* preview_command = app.add_subcommand("preview", "write a PNG of the first frame of a file");
    preview_command->add_option("input", preview.input, "input file (raw frames, .png or .bmp)")->required();
    preview_command->add_option("output", preview.output, "PNG file")->required();
    preview_command->add_option("--from", preview.from, "input format (not for .png and .bmp inputs)");
    preview_command->add_option("--size", preview.size, "frame size, WIDTHxHEIGHT (not for .png and .bmp inputs)");
    preview_command->add_option("--pitch", preview.pitch, "bytes between input rows (packed formats)");
    preview_command->callback([&] { ccnvt::run_preview(preview); });

    CLI::App* rtp_command = app.add_subcommand("rtp", "ST 2110-20 RTP packets in pcap captures");
    rtp_command->require_subcommand(1);
    ccnvt::RtpPackOptions pack;
    CLI::App* pack_command = rtp_command->add_subcommand("pack", "v210 frames to RTP packets in a pcap file");
    pack_command->add_option("input", pack.input, "v210 file")->required();
    pack_command->add_option("output", pack.output, "pcap file")->required();
    pack_command->add_option("--size", pack.size, "frame size, WIDTHxHEIGHT")->required();
    pack_command->add_option("--frames", pack.frames, "frames to send (default: all)");
    pack_command->add_option("--dest", pack.destination, "destination ADDRESS:PORT (default 239.1.1.1:5004)");
    pack_command->add_option("--ssrc", pack.ssrc, "RTP synchronisation source");
    pack_command->add_option("--rate", pack.rate, "frame rate, FRAMES or FRAMES/SECONDS (default 30000/1001)");
    pack_command->add_flag("--strict", pack.strict, "clear the RTP extension bit (no extension follows)");
    pack_command->callback([&] { ccnvt::run_rtp_pack(pack); });
    ccnvt::RtpUnpackOptions unpack;
    CLI::App* unpack_command = rtp_command->add_subcommand("unpack", "RTP packets in a pcap file to v210 frames");
    unpack_command->add_option("input", unpack.input, "pcap file")->required();
    unpack_command->add_option("output", unpack.output, "v210 file")->required();
    unpack_command->add_option("--size", unpack.size, "frame size, WIDTHxHEIGHT")->required();
    unpack_command->callback([&] { ccnvt::run_rtp_unpack(unpack); });

    ccnvt::BenchOptions bench;
    CLI::App* bench_command = app.add_subcommand("bench", "measure the conversions beside libyuv, FFmpeg and memcpy");
    bench_command->add_option("--size", bench.size, "only this frame size: 1920x1080 or 3840x2160 (default both)");
    bench_command->add_option("--filter", bench.filter, "regular expression over the operation names");
    bench_command->add_option("--seconds", bench.seconds, "least time per measurement (default 0.1)");
    bench_command->add_flag("--all-kernels", bench.all_kernels,
                            "every kernel class (portable, sse, avx2), not only the one this processor picks");
    bench_command->add_flag("--json", bench.json, "print the table as JSON");
    bench_command->callback([&] { ccnvt::run_bench(bench); });

    ccnvt::DemoOptions demo;
    CLI::App* demo_command = app.add_subcommand("demo", "run bars through every family, verify, and write the results");
    demo_command->add_option("--out", demo.folder, "folder for the pictures and the capture (default ./ccnvt-demo)");
    demo_command->callback([&] { ccnvt::run_demo(demo); });

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
