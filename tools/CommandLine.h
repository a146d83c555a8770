#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// One filter of a chain as written: its short name and its key=value pairs
// in the order given (the transform applies its steps in that order).
struct FilterSpec {
    std::string name;
    std::vector<std::pair<std::string, std::string>> parameters;
    bool wantsHelp = false;
};

enum class CliCommand { Run, Demo, Info, View, Help, Version };
enum class CliFit { Fill, Stretch };

struct PixelSize {
    long width = 0;
    long height = 0;
};

// The tool's whole command line, parsed but not yet checked against files
// or the GL limits.
struct CommandLine {
    CliCommand command = CliCommand::Run;
    std::vector<std::string> inputs;
    std::string output; // -o
    std::string outputDirectory; // -O
    std::optional<PixelSize> size;
    CliFit fit = CliFit::Fill;
    bool cache = false;
    bool time = false;
    bool verbose = false;
    // Output files: --format (else the output's name says), --quality,
    // --lossless, --depth (0: the input's), --background for transparent inputs.
    std::string format;
    int quality = 90;
    bool lossless = false;
    int depth = 0;
    uint8_t background[3] = {0, 0, 0};
    // view
    bool animate = false;
    long frames = 0; // 0: until the window is closed
    std::string helpTopic; // a filter name for `--help FILTER`
    std::vector<FilterSpec> chain;
};

// Parses the arguments after the program name. Throws a usage CliError
// naming the first thing that is wrong.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

// "640x480" → {640, 480}; nullopt for anything else, zero and negative
// sizes included (the caller names the option in its message).
std::optional<PixelSize> parsePixelSize(const std::string& text);

// "#RRGGBB", "RRGGBB", "black", "white" or "grey" as bytes; nullopt for anything else.
std::optional<std::array<uint8_t, 3>> parseColour(const std::string& text);

std::string usageText();
