#include "BitmapFont.h"
#include "ChainBuilder.h"
#include "CliError.h"
#include "Commands.h"
#include "DemoSheet.h"
#include "OutputPicture.h"

#include <lumetra/lumetra.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace DemoSheet {

const std::vector<Tile>& demoTiles()
{
    // The source, then each registered filter as its declaration shows it.
    static const std::vector<Tile> tiles = [] {
        std::vector<Tile> all{{""}};
        for (const LMFilterRegistry::Entry& entry : LMFilterRegistry::shared().entries())
            all.push_back({entry.declaration->demoChain()});
        return all;
    }();
    return tiles;
}

int tileLeft(int index)
{
    return margin + (index % columns) * (tileWidth + margin);
}

int tileTop(int index)
{
    return titleHeight + (index / columns) * (tileHeight + labelHeight + margin);
}

int sheetWidth()
{
    return margin + columns * (tileWidth + margin);
}

int sheetHeight()
{
    const int rows = (int(demoTiles().size()) + columns - 1) / columns;
    return titleHeight + rows * (tileHeight + labelHeight + margin);
}

namespace {

void setPixel(LMBitmap& bitmap, int x, int y, int r, int g, int b)
{
    uint8_t* pixel = bitmap.rowAt(y) + x * 4;
    pixel[0] = uint8_t(r);
    pixel[1] = uint8_t(g);
    pixel[2] = uint8_t(b);
    pixel[3] = 255;
}

} // namespace

std::shared_ptr<LMBitmap> sourcePicture()
{
    auto bitmap = newBIR(tileWidth, tileHeight);
    for (int y = 0; y < tileHeight; ++y)
        for (int x = 0; x < tileWidth; ++x) {
            const bool inPatch = x >= patchLeft && x < patchRight && y >= patchTop && y < patchBottom;
            if (inPatch) {
                setPixel(*bitmap, x, y, patchColor[0], patchColor[1], patchColor[2]);
                continue;
            }
            // A soft ring in the lower right gives the transform something to turn.
            const double ring = std::hypot(x - 170.0, y - 105.0);
            const int blue = ring > 28 && ring < 40 ? 240 : 90;
            setPixel(*bitmap, x, y, x * 255 / (tileWidth - 1), y * 255 / (tileHeight - 1), blue);
        }
    return bitmap;
}

std::shared_ptr<LMBitmap> stripesPicture()
{
    auto bitmap = newBIR(tileWidth, tileHeight);
    for (int y = 0; y < tileHeight; ++y)
        for (int x = 0; x < tileWidth; ++x) {
            const bool stripe = (x / 20) % 2 == 0;
            setPixel(*bitmap, x, y, stripe ? 40 : 0, stripe ? 90 : 0, stripe ? 230 : 0);
        }
    return bitmap;
}

} // namespace DemoSheet

namespace {

std::vector<FilterSpec> chainFromLabel(const std::string& label)
{
    std::vector<std::string> words{"--"};
    std::istringstream stream(label);
    for (std::string word; stream >> word;)
        words.push_back(word);
    // The label is a chain in the tool's own syntax: parse it as one.
    std::vector<std::string> arguments{"in.png", "-o", "out.png"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return parseCommandLine(arguments).chain;
}

// A filter that changes the size makes a tile of another size: what
// reaches past the tile's place is cut off.
void copyTile(const LMBitmap& tile, LMBitmap& sheet, int left, int top)
{
    const int width = std::min(tile.pixelsWide(), DemoSheet::tileWidth);
    for (int y = 0; y < std::min(tile.pixelsHigh(), DemoSheet::tileHeight); ++y) {
        uint8_t* row = sheet.rowAt(top + y) + left * 4;
        std::memcpy(row, tile.rowAt(y), size_t(width) * 4);
        for (int x = 0; x < width; ++x)
            row[x * 4 + 3] = 255;
    }
}

} // namespace

int demoCommand(const CommandLine& line, LogRecorder& log)
{
    using namespace DemoSheet;
    checkOutputName(line.output);

    auto context = makeContext({tileWidth, tileHeight}, log);
    context->setDimensions({tileWidth, tileHeight});
    auto source = LMPicture::pictureWithBitmap(sourcePicture())->lumetraImageWithContext(context);
    auto stripes = LMPicture::pictureWithBitmap(stripesPicture())->lumetraImageWithContext(context);
    if (!source || !stripes)
        throw CliError("cannot bring the demo pictures into the GL context");

    auto sheet = newBIR(sheetWidth(), sheetHeight());
    for (int y = 0; y < sheet->pixelsHigh(); ++y)
        for (int x = 0; x < sheet->pixelsWide(); ++x) {
            uint8_t* pixel = sheet->rowAt(y) + x * 4;
            pixel[0] = 30, pixel[1] = 31, pixel[2] = 36, pixel[3] = 255;
        }
    const uint8_t titleColor[4] = {250, 250, 250, 255};
    const uint8_t labelColor[4] = {215, 215, 220, 255};
    BitmapFont::drawText(*sheet, margin, 10, "LUMETRA: EVERY BUILT-IN FILTER", 2, titleColor);

    // The files the demo chains read, written to a folder of the sheet's own.
    std::string folderName = (std::filesystem::temp_directory_path() / "lumetra-demo-XXXXXX").string();
    if (!mkdtemp(folderName.data()))
        throw CliError("cannot make a folder for the demo's files: " + std::string(std::strerror(errno)));
    const std::filesystem::path folder = folderName;
    struct Removal {
        std::filesystem::path folder;
        ~Removal()
        {
            std::error_code ignored;
            std::filesystem::remove_all(folder, ignored);
        }
    } removal{folder};
    std::map<std::string, std::string> demoFiles;
    for (const LMFilterRegistry::Entry& entry : LMFilterRegistry::shared().entries())
        for (const auto& [name, contents] : entry.declaration->demoFiles()) {
            std::ofstream(folder / name, std::ios::binary) << contents;
            demoFiles[name] = (folder / name).string();
        }

    const auto& tiles = demoTiles();
    for (int index = 0; index < int(tiles.size()); ++index) {
        ChainBuilder builder(context, LMContentScaleModeFill, log);
        builder.provideInput("stripes", stripes, stripes->dimensions());
        for (const auto& [name, path] : demoFiles)
            builder.provideFile(name, path);
        const std::string& label = tiles[index].label;
        std::shared_ptr<LMDrawable> node = source;
        if (!label.empty())
            node = builder.build(checkChain(chainFromLabel(label)), source, context->dimensions());
        auto image = node->drawWithContext(context);
        auto picture = image ? LMPicture::imageWithLMImage(image) : nullptr;
        if (!picture)
            throw CliError("the " + label + " tile could not be drawn");
        copyTile(*picture->bitmap(), *sheet, tileLeft(index), tileTop(index));
        // A label wider than its tile goes on two lines, broken at the last space that fits.
        const std::string text = label.empty() ? "source picture" : label;
        const size_t fits = size_t(tileWidth / BitmapFont::textWidth(" ", 1));
        const size_t split = text.size() > fits ? text.rfind(' ', fits) : std::string::npos;
        if (split == std::string::npos || split == 0) {
            BitmapFont::drawText(*sheet, tileLeft(index), tileTop(index) + tileHeight + 7, text, 1, labelColor);
        } else {
            BitmapFont::drawText(*sheet, tileLeft(index), tileTop(index) + tileHeight + 3, text.substr(0, split), 1,
                                 labelColor);
            BitmapFont::drawText(*sheet, tileLeft(index), tileTop(index) + tileHeight + 12, text.substr(split + 1), 1,
                                 labelColor);
        }
    }
    writeOutputBitmap(sheet, line.output, log);
    std::printf("Wrote %s: %zu tiles, %d by %d pixels\n", line.output.c_str(), tiles.size(), sheetWidth(),
                sheetHeight());
    return 0;
}
