#pragma once

#include <lumetra/platform/LMBitmap.h>

#include <memory>
#include <string>
#include <vector>

// The contact sheet of `lumetra demo`: a picture the tool paints itself, and
// every built-in filter applied to it, one labelled tile each, three tiles a
// row in the order of demoTiles().
namespace DemoSheet {

constexpr int tileWidth = 240;
constexpr int tileHeight = 160;
constexpr int labelHeight = 20;
constexpr int margin = 10;
constexpr int titleHeight = 34;
constexpr int columns = 3;

// The source picture: a red-green gradient with a solid patch of
// patchColor at patchLeft..patchRight, patchTop..patchBottom (pixels from
// the top-left corner) so that the sheet has places of known colour.
constexpr int patchLeft = 20, patchTop = 20, patchRight = 100, patchBottom = 70;
constexpr unsigned char patchColor[3] = {204, 51, 102};

struct Tile {
    std::string label; // also the chain, in the tool's own syntax ("" for the source)
};
const std::vector<Tile>& demoTiles();

// The top-left corner of tile `index` on the sheet.
int tileLeft(int index);
int tileTop(int index);
int sheetWidth();
int sheetHeight();

std::shared_ptr<LMBitmap> sourcePicture();
// Blue and black vertical stripes: the second picture of the max2 tile.
std::shared_ptr<LMBitmap> stripesPicture();

} // namespace DemoSheet
