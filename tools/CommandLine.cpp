#include "CommandLine.h"

#include "CliError.h"

#include <lumetra/graph/LMGraphDepth.h>

#include <lumetra/platform/LMPictureFormat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace {

bool isOption(const std::string& argument)
{
    return argument.size() > 1 && argument[0] == '-';
}

// The chain after the first "--": filters separated by further "--".
std::vector<FilterSpec> parseChain(const std::vector<std::string>& arguments, size_t start)
{
    std::vector<FilterSpec> chain;
    FilterSpec* current = nullptr;
    for (size_t i = start; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            if (!current)
                throw CliError::usage("an empty filter between \"--\" separators");
            current = nullptr;
            continue;
        }
        if (!current) {
            if (argument.find('=') != std::string::npos || isOption(argument))
                throw CliError::usage("expected a filter name after \"--\", found \"" + argument + "\"");
            chain.push_back(FilterSpec{argument, {}, false});
            current = &chain.back();
            continue;
        }
        if (argument == "--help" || argument == "-h") {
            current->wantsHelp = true;
            continue;
        }
        const size_t equals = argument.find('=');
        if (equals == std::string::npos || equals == 0)
            throw CliError::usage("filter " + current->name + ": expected key=value, found \"" + argument + "\"");
        current->parameters.emplace_back(argument.substr(0, equals), argument.substr(equals + 1));
    }
    if (start < arguments.size() && !current)
        throw CliError::usage("the chain ends with \"--\" and no filter after it");
    // Past the graph's depth the library would draw black.
    if (chain.size() > static_cast<size_t>(LMGraphDepth::maximumDepth))
        throw CliError::usage("a chain of " + std::to_string(chain.size()) + " filters is longer than the " +
                              std::to_string(LMGraphDepth::maximumDepth) + " the library draws");
    return chain;
}

const std::string& valueOf(const std::vector<std::string>& arguments, size_t& i)
{
    if (i + 1 >= arguments.size() || arguments[i + 1] == "--")
        throw CliError::usage("option " + arguments[i] + " needs a value");
    return arguments[++i];
}

long parseCount(const std::string& option, const std::string& text)
{
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || value < 0)
        throw CliError::usage("option " + option + ": \"" + text + "\" is not a whole number of at least 0");
    return value;
}

} // namespace

std::optional<PixelSize> parsePixelSize(const std::string& text)
{
    const size_t x = text.find('x');
    if (x == std::string::npos || x == 0 || x + 1 == text.size())
        return std::nullopt;
    PixelSize size;
    for (auto [part, target] :
         {std::pair{text.substr(0, x), &size.width}, std::pair{text.substr(x + 1), &size.height}}) {
        if (part.size() > 9 || part.find_first_not_of("0123456789") != std::string::npos)
            return std::nullopt;
        *target = std::strtol(part.c_str(), nullptr, 10);
    }
    return size;
}

std::optional<std::array<uint8_t, 3>> parseColour(const std::string& text)
{
    if (text == "black")
        return std::array<uint8_t, 3>{0, 0, 0};
    if (text == "white")
        return std::array<uint8_t, 3>{255, 255, 255};
    if (text == "grey" || text == "gray")
        return std::array<uint8_t, 3>{128, 128, 128};
    const std::string hex = !text.empty() && text[0] == '#' ? text.substr(1) : text;
    if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        return std::nullopt;
    std::array<uint8_t, 3> colour{};
    for (int i = 0; i < 3; ++i)
        colour[size_t(i)] = uint8_t(std::strtol(hex.substr(size_t(i) * 2, 2).c_str(), nullptr, 16));
    return colour;
}

CommandLine parseCommandLine(const std::vector<std::string>& arguments)
{
    CommandLine line;
    size_t i = 0;
    if (!arguments.empty()) {
        const std::string& first = arguments[0];
        if (first == "demo") {
            line.command = CliCommand::Demo;
            i = 1;
        } else if (first == "info") {
            line.command = CliCommand::Info;
            i = 1;
        } else if (first == "view") {
            line.command = CliCommand::View;
            i = 1;
        } else if (first == "help") {
            line.command = CliCommand::Help;
            if (arguments.size() > 2)
                throw CliError::usage("help takes at most one filter name");
            if (arguments.size() == 2)
                line.helpTopic = arguments[1];
            return line;
        }
    }

    for (; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            line.chain = parseChain(arguments, i + 1);
            break;
        }
        if (argument == "--help" || argument == "-h") {
            line.command = CliCommand::Help;
            if (i + 1 < arguments.size() && !isOption(arguments[i + 1]))
                line.helpTopic = arguments[i + 1];
            return line;
        }
        if (argument == "--version") {
            line.command = CliCommand::Version;
            return line;
        }
        if (argument == "-o") {
            line.output = valueOf(arguments, i);
        } else if (argument == "-O") {
            line.outputDirectory = valueOf(arguments, i);
        } else if (argument == "--size") {
            const std::string& text = valueOf(arguments, i);
            line.size = parsePixelSize(text);
            if (!line.size)
                throw CliError::usage("--size \"" + text + "\" is not WIDTHxHEIGHT in pixels, such as 640x480");
            if (line.size->width < 1 || line.size->height < 1)
                throw CliError::usage("--size " + text + ": width and height must be at least 1 pixel");
        } else if (argument == "--fit") {
            const std::string& text = valueOf(arguments, i);
            if (text == "fill")
                line.fit = CliFit::Fill;
            else if (text == "stretch")
                line.fit = CliFit::Stretch;
            else
                throw CliError::usage("--fit \"" + text + "\" is neither fill nor stretch");
        } else if (argument == "--format") {
            line.format = valueOf(arguments, i);
            if (!LMPictureFileFormatNamed(line.format))
                throw CliError::usage("--format \"" + line.format + "\" is none of png, jpeg, tiff, webp");
        } else if (argument == "--quality") {
            const std::string& text = valueOf(arguments, i);
            const long quality = parseCount(argument, text);
            if (quality < 1 || quality > 100)
                throw CliError::usage("--quality " + text + ": give a whole number from 1 to 100");
            line.quality = int(quality);
        } else if (argument == "--lossless") {
            line.lossless = true;
        } else if (argument == "--depth") {
            const std::string& text = valueOf(arguments, i);
            if (text != "8" && text != "16")
                throw CliError::usage("--depth \"" + text + "\" is neither 8 nor 16");
            line.depth = text == "8" ? 8 : 16;
        } else if (argument == "--background") {
            const std::string& text = valueOf(arguments, i);
            const auto colour = parseColour(text);
            if (!colour)
                throw CliError::usage("--background \"" + text + "\" is not #RRGGBB, black, white or grey");
            std::copy(colour->begin(), colour->end(), line.background);
        } else if (argument == "--cache") {
            line.cache = true;
        } else if (argument == "--time") {
            line.time = true;
        } else if (argument == "--verbose" || argument == "-v") {
            line.verbose = true;
        } else if (argument == "--animate") {
            line.animate = true;
        } else if (argument == "--frames") {
            line.frames = parseCount(argument, valueOf(arguments, i));
        } else if (isOption(argument)) {
            throw CliError::usage("unknown option " + argument);
        } else {
            line.inputs.push_back(argument);
        }
    }

    switch (line.command) {
    case CliCommand::Run:
        if (line.inputs.empty())
            throw CliError::usage("no input picture (see lumetra --help)");
        if (!line.output.empty() && !line.outputDirectory.empty())
            throw CliError::usage("give either -o FILE or -O DIRECTORY, not both");
        if (line.inputs.size() > 1 && line.outputDirectory.empty())
            throw CliError::usage("several inputs need -O DIRECTORY for their outputs");
        if (line.output.empty() && line.outputDirectory.empty())
            throw CliError::usage("no output: give -o FILE (or -O DIRECTORY for several inputs)");
        // With no filter, the picture is converted (and with --size, resized).
        if (line.output == "-" && line.format.empty())
            throw CliError::usage("-o - writes to standard output: say which format with --format");
        if (std::count(line.inputs.begin(), line.inputs.end(), "-") > 1)
            throw CliError::usage("standard input (-) can be read only once");
        break;
    case CliCommand::View:
        if (line.inputs.size() != 1)
            throw CliError::usage("view takes exactly one input picture");
        if (line.chain.empty())
            throw CliError::usage("no filters: add -- FILTER [key=value ...] after the picture");
        break;
    case CliCommand::Demo:
        if (!line.inputs.empty() || !line.chain.empty())
            throw CliError::usage("demo takes no input pictures or filters, only -o FILE");
        if (line.output.empty())
            line.output = "demo.png";
        break;
    case CliCommand::Info:
        if (!line.inputs.empty() || !line.chain.empty())
            throw CliError::usage("info takes no arguments");
        break;
    case CliCommand::Help:
    case CliCommand::Version: break;
    }
    return line;
}

std::string usageText()
{
    return "Usage:\n"
           "  lumetra IN -o OUT [options] -- FILTER [key=value ...] [-- FILTER ...]\n"
           "  lumetra IN... -O DIR [options] -- FILTER ...   process a batch with one context\n"
           "  lumetra demo [-o demo.png]     a contact sheet of every built-in filter\n"
           "  lumetra info                   renderer, GL and GLSL versions, EGL platform, limits\n"
           "  lumetra view IN [--animate] [--frames N] -- FILTER ...   show the result in a window\n"
           "  lumetra --help [FILTER]        this text, or one filter's parameters\n"
           "\n"
           "  lumetra IN -o OUT [options]    with no filter: converts (and with --size, resizes)\n"
           "\n"
           "Pictures are PNG, JPEG, TIFF or WebP (8 or 16 bits); the output's format follows its\n"
           "name (.png, .jpg/.jpeg, .tif/.tiff, .webp) or --format. IN - reads standard input,\n"
           "-o - writes standard output (with --format). Profiles and EXIF are kept.\n"
           "An existing output is replaced by a new file once the new one is whole: it keeps its\n"
           "permissions, but other hard links to it keep the old picture.\n"
           "\n"
           "Options:\n"
           "  -o FILE          the output picture\n"
           "  -O DIR           the output folder for a batch (file names are kept; not the inputs' own)\n"
           "  --size WxH       the context's size in pixels (default: the input picture's)\n"
           "  --fit fill|stretch  how a picture of another size is fitted (default fill: cover, crop)\n"
           "  --format F       png, jpeg, tiff or webp: the output's format (for -O, its extension)\n"
           "  --quality N      JPEG and WebP quality, 1 to 100 (default 90)\n"
           "  --lossless       WebP: lossless\n"
           "  --depth 8|16     bits per sample of the output (default: the input's)\n"
           "  --background C   what transparent inputs are flattened onto: #RRGGBB, black (default),\n"
           "                   white or grey\n"
           "  --cache          turn on the context's output caching\n"
           "  --time           print the GPU time of the chain (on standard error)\n"
           "  --animate        view: animate the circle and transform parameters\n"
           "  --frames N       view: close after N frames (default: when the window is closed)\n"
           "  -v, --verbose    print the library's log lines\n"
           "\n"
           "Coordinates are pixels from the top-left corner of the context, y downwards.\n";
}
