// picture-host IN OUT.png [WIDTH HEIGHT]
//
// Reads a PNG or JPEG file, darkens it outside a spotlight, and writes a PNG.
// The spotlight is a filter of this program's own; two built-in filters
// around it decode the picture's sRGB values to linear light and encode the
// result again. The output is WIDTH by HEIGHT pixels, the picture's own size
// when they are not given; a picture of another size is fitted to it.
#include <lumetra/lumetra_authoring.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// A filter of our own: a GLSL kernel and the names of what it reads. It keeps
// its input within `radius` pixels of `centre` and scales it by `dim`
// elsewhere. lm_location is the pixel being drawn, in pixels from the
// lower-left corner, y up, as every position inside the library is.
class Spotlight : public LMFilterClass<Spotlight, LMFilterSingleInput> {
public:
    std::string kernelSource() const override
    {
        return "void main() {"
               "    vec3 colour = texture(lm_input, lm_location).rgb;"
               "    bool lit = distance(lm_location, lm_centre) <= lm_radius;"
               "    lm_output = lit ? colour : colour * lm_dim;"
               "}";
    }
    std::vector<std::string> controlNames() const override { return {"radius", "dim"}; }
    std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override
    {
        return {LMVector2::vectorWithName("centre")};
    }

    void setRadius(double radius) { setProperty("radius", radius); }
    void setDim(double dim) { setProperty("dim", dim); }
    void setCentre(double x, double y) { setProperty("centre", LMValue{x, y}); }
};

int main(int argc, char** argv)
{
    if (argc != 3 && argc != 5) {
        std::fprintf(stderr, "usage: picture-host IN OUT.png [WIDTH HEIGHT]\n");
        return 2;
    }

    // The library logs one line per message, to standard error unless told
    // otherwise: the renderer when a context is made, and the reason when
    // something fails. Keep the lines, and show them only if we fail.
    std::vector<std::string> log;
    LMSetLogSink([&log](const std::string& line) { log.push_back(line); });
    auto fail = [&log](const char* what) {
        std::fprintf(stderr, "picture-host: %s\n", what);
        for (const std::string& line : log)
            std::fprintf(stderr, "  %s\n", line.c_str());
        return 1;
    };

    // A picture is pixels in memory, rows from the top, with a size in points
    // (one point per pixel for a file). Null, with a log line, if unreadable.
    auto picture = LMPicture::pictureWithContentsOfFile(argv[1]);
    if (!picture)
        return fail("cannot read the input picture");

    // Every image of a context has the context's size.
    LMSize size = picture->size();
    if (argc == 5)
        size = {std::atof(argv[3]), std::atof(argv[4])};
    auto context = LMContext::contextWithDimensions(size);
    if (!context->openGLContext())
        return fail("no OpenGL context");

    // Into the context: a picture of another size is fitted to it, filling
    // it with the aspect ratio kept and the overflow cropped evenly on both
    // sides (LMContentScaleModeStretch would stretch it instead).
    auto source = picture->lumetraImageWithContext(context, LMContentScaleModeFill);
    if (!source)
        return fail("cannot copy the picture into the context");

    // The graph: each filter takes the node before it as its input.
    auto linear = LMFilterConvertFromSRGB::filterWithInput(source);
    auto spotlight = Spotlight::filterWithInput(linear);
    auto encoded = LMFilterConvertToSRGB::filterWithInput(spotlight);

    // The spotlight sits a third of the way across and a quarter of the way
    // down, as one measures in a picture viewer: from the top-left corner,
    // y down. The library counts from the lower-left corner, y up.
    const double xFromLeft = size.width / 3, yFromTop = size.height / 4;
    spotlight->setCentre(xFromLeft, size.height - yFromTop);
    spotlight->setRadius(size.height / 3);
    spotlight->setDim(0.25);

    // Drawing the last node draws the graph, on the GPU; the result comes
    // back to memory as a picture of the context's size.
    auto result = LMPicture::imageWithLMImage(encoded->drawWithContext(context));
    if (!result || !result->writePNGToFile(argv[2]))
        return fail("cannot write the output picture");
    return 0;
}
